#pragma once

#include <QAbstractListModel>
#include <QList>
#include <QObject>

// A list model of QObject pointers for QML: each row hands its object over
// as the role "model". The list owns nothing.
class QObjectListModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    static constexpr int ObjectRole = Qt::UserRole + 1;

    explicit QObjectListModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return int(m_objects.size()); }
    Q_INVOKABLE QObject* get(int i) const;
    const QList<QObject*>& objectList() const { return m_objects; }

    // A model reset; every row then reports its data as changed.
    void setObjectList(const QList<QObject*>& objects);
    void append(QObject* object);
    void insert(int i, QObject* object);
    void setObject(int i, QObject* object);
    void move(int from, int to);
    void removeAt(int i, int count = 1);
    void clear();
    int indexOf(QObject* object) const { return int(m_objects.indexOf(object)); }

Q_SIGNALS:
    void countChanged();

private:
    QList<QObject*> m_objects;
};
