#include "config/scenesfilterviewmodel.h"

#include "config/objectlistmodel.h"
#include "config/sceneviewmodel.h"

namespace {

bool PassesWord(const QString& word, const CSceneViewModel& scene)
{
    // "User" and "Official" are the scene's origin, unless it carries the
    // word as a tag of its own.
    if (word == u"User" && !scene.official())
        return true;
    if (word == u"Official" && scene.official())
        return true;
    if (word == u"norelicensing")
        return !scene.relicensingPossible();
    return scene.tags().contains(word) || scene.type() == word;
}

} // namespace

QVariant CScenesFilterViewModel::data(const QModelIndex& index, int role) const
{
    if (role == Qt::DisplayRole && index.column() == 0)
        return index.row() + 1;
    return QSortFilterProxyModel::data(index, role);
}

void CScenesFilterViewModel::setOrigin(const QString& origin)
{
    if (origin == m_origin)
        return;
    m_origin = origin;
    invalidateFilter();
    Q_EMIT originChanged();
}

CSceneViewModel* CScenesFilterViewModel::sceneAt(int row) const
{
    const QModelIndex source = mapToSource(index(row, 0));
    return source.isValid() ? sourceScene(source.row()) : nullptr;
}

CSceneViewModel* CScenesFilterViewModel::sourceScene(int sourceRow) const
{
    const auto* list = qobject_cast<const QObjectListModel*>(sourceModel());
    return list ? qobject_cast<CSceneViewModel*>(list->get(sourceRow)) : nullptr;
}

bool CScenesFilterViewModel::filterAcceptsRow(int sourceRow, const QModelIndex&) const
{
    const CSceneViewModel* scene = sourceScene(sourceRow);
    if (!scene)
        return false;
    if (!m_origin.isEmpty() && !PassesWord(m_origin, *scene))
        return false;
    for (const QString& word : m_words) {
        if (!PassesWord(word, *scene))
            return false;
    }
    return m_searchText.isEmpty() || scene->name().contains(m_searchText, Qt::CaseInsensitive);
}

bool CScenesFilterViewModel::lessThan(const QModelIndex& left, const QModelIndex& right) const
{
    const CSceneViewModel* a = sourceScene(left.row());
    const CSceneViewModel* b = sourceScene(right.row());
    return a && b && a->name() < b->name();
}
