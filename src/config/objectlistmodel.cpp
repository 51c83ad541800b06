#include "config/objectlistmodel.h"

QObjectListModel::QObjectListModel(QObject* parent) : QAbstractListModel(parent)
{
}

int QObjectListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant QObjectListModel::data(const QModelIndex& index, int role) const
{
    if (role != ObjectRole || index.row() < 0 || index.row() >= count())
        return {};
    return QVariant::fromValue(m_objects[index.row()]);
}

QHash<int, QByteArray> QObjectListModel::roleNames() const
{
    return {{ObjectRole, "model"}};
}

QObject* QObjectListModel::get(int i) const
{
    return i >= 0 && i < count() ? m_objects[i] : nullptr;
}

void QObjectListModel::setObjectList(const QList<QObject*>& objects)
{
    const int before = count();
    beginResetModel();
    m_objects = objects;
    endResetModel();
    if (!m_objects.isEmpty())
        Q_EMIT dataChanged(index(0), index(count() - 1));
    if (before != count())
        Q_EMIT countChanged();
}

void QObjectListModel::append(QObject* object)
{
    insert(count(), object);
}

void QObjectListModel::insert(int i, QObject* object)
{
    i = qBound(0, i, count());
    beginInsertRows({}, i, i);
    m_objects.insert(i, object);
    endInsertRows();
    Q_EMIT countChanged();
}

void QObjectListModel::setObject(int i, QObject* object)
{
    if (i < 0 || i >= count())
        return;
    m_objects[i] = object;
    Q_EMIT dataChanged(index(i), index(i));
}

void QObjectListModel::move(int from, int to)
{
    if (from < 0 || from >= count() || to < 0 || to >= count() || from == to)
        return;
    // Qt counts the destination as the row before which the moved row lands.
    beginMoveRows({}, from, from, {}, to > from ? to + 1 : to);
    m_objects.move(from, to);
    endMoveRows();
}

void QObjectListModel::removeAt(int i, int n)
{
    if (i < 0 || n <= 0 || i >= count())
        return;
    n = qMin(n, count() - i);
    beginRemoveRows({}, i, i + n - 1);
    m_objects.remove(i, n);
    endRemoveRows();
    Q_EMIT countChanged();
}

void QObjectListModel::clear()
{
    if (m_objects.isEmpty())
        return;
    beginResetModel();
    m_objects.clear();
    endResetModel();
    Q_EMIT countChanged();
}
