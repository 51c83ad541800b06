#pragma once

#include <QSortFilterProxyModel>
#include <QStringList>

class CSceneViewModel;

// The scenes the browser shows: those that carry every chosen tag word and
// whose name holds the search text.
class CScenesFilterViewModel : public QSortFilterProxyModel
{
    Q_OBJECT
    // "User" or "Official" narrows the scenes to one origin beside the
    // chosen tag; empty shows both.
    Q_PROPERTY(QString origin READ origin WRITE setOrigin NOTIFY originChanged)

public:
    explicit CScenesFilterViewModel(QObject* parent = nullptr) : QSortFilterProxyModel(parent) {}

    void setWords(const QStringList& words) { m_words = words; }
    const QStringList& words() const { return m_words; }
    void setSearchText(const QString& text) { m_searchText = text; }
    const QString& searchText() const { return m_searchText; }
    const QString& origin() const { return m_origin; }
    void setOrigin(const QString& origin);

    QVariant data(const QModelIndex& index, int role) const override;
    // The scene at a row of this model, or null.
    Q_INVOKABLE CSceneViewModel* sceneAt(int row) const;

public Q_SLOTS:
    void invalidate() { invalidateFilter(); }

Q_SIGNALS:
    void originChanged();

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    CSceneViewModel* sourceScene(int sourceRow) const;

    QStringList m_words;
    QString m_searchText;
    QString m_origin;
};
