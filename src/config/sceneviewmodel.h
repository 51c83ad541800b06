#pragma once

#include "config/scenekind.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class CScene;

// One scene of the library: the header of its file, whether it is chosen
// for the active playlist, and whether it came with the installation.
class CSceneViewModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString name READ name CONSTANT)
    Q_PROPERTY(QString author READ author CONSTANT)
    Q_PROPERTY(QString id READ id CONSTANT)
    Q_PROPERTY(QStringList tags READ tags NOTIFY tagsChanged)
    Q_PROPERTY(bool relicensingPossible READ relicensingPossible NOTIFY relicensingPossibleChanged)
    Q_PROPERTY(QString type READ type CONSTANT)
    Q_PROPERTY(int sceneTypeAsIndex READ sceneTypeAsIndex CONSTANT)
    Q_PROPERTY(QString description READ description CONSTANT)
    Q_PROPERTY(QString licenseImage READ licenseImage CONSTANT)
    Q_PROPERTY(QString filepath READ filepath WRITE setFilepath NOTIFY filepathChanged)
    Q_PROPERTY(bool selected READ selected WRITE setSelected NOTIFY selectedChanged)
    Q_PROPERTY(bool official READ official CONSTANT)
    // A file that could not be read stays in the library, marked, with why.
    Q_PROPERTY(bool broken READ broken CONSTANT)
    Q_PROPERTY(QString loadError READ loadError CONSTANT)
    Q_PROPERTY(QString license READ license CONSTANT)

public:
    explicit CSceneViewModel(QObject* parent = nullptr);
    // Reads the header of the file; a file that can't be read leaves the
    // header empty and the scene broken.
    CSceneViewModel(const QString& path, bool official, QObject* parent = nullptr);
    ~CSceneViewModel() override;

    QString name() const;
    QString author() const;
    QString id() const;
    const QStringList& tags() const { return m_tags; }
    bool relicensingPossible() const;
    QString type() const { return SceneKindLabel(kind()); }
    int sceneTypeAsIndex() const { return SceneKindIndex(kind()); }
    QString description() const;
    QString licenseImage() const;
    QString license() const;
    const QString& filepath() const { return m_filepath; }
    void setFilepath(const QString& path);
    bool selected() const { return m_selected; }
    void setSelected(bool selected);
    bool official() const { return m_official; }
    bool broken() const { return !m_loadError.isEmpty(); }
    const QString& loadError() const { return m_loadError; }

    ESceneKind kind() const;
    int32_t sceneType() const;
    // The header as read, for playlists.
    const CScene& scene() const { return *m_scene; }

    Q_INVOKABLE void addTag(const QString& tag);
    Q_INVOKABLE void removeTag(const QString& tag);
    Q_INVOKABLE void setRelicensingPossible(bool balue);

Q_SIGNALS:
    void tagsChanged();
    void relicensingPossibleChanged();
    void filepathChanged();
    void selectedChanged();

private:
    // The whole scene is read, changed and written back, pictures kept.
    void RewriteFile(const std::function<void(CScene&)>& change);

    std::unique_ptr<CScene> m_scene;
    QString m_filepath;
    QStringList m_tags;
    QString m_loadError;
    bool m_selected = false;
    bool m_official = false;
};
