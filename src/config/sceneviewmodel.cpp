#include "config/sceneviewmodel.h"

#include "app/log.h"
#include "config/notifyingsetter.h"
#include "scene/scene.h"

#include <QFile>

#include <algorithm>

namespace {

QString FromUtf8(const std::string& text)
{
    return QString::fromStdString(text);
}

std::string LocalPath(const QString& path)
{
    return QFile::encodeName(path).toStdString();
}

} // namespace

CSceneViewModel::CSceneViewModel(QObject* parent) : QObject(parent), m_scene(std::make_unique<CScene>())
{
}

CSceneViewModel::CSceneViewModel(const QString& path, bool official, QObject* parent)
    : CSceneViewModel(parent)
{
    m_filepath = path;
    m_official = official;
    if (!m_scene->Load(LocalPath(path), false))
        m_loadError = tr("The scene file \"%1\" can't be opened or holds no scene.").arg(path);
    else if (m_scene->ReadFailed())
        m_loadError = tr("The scene file \"%1\" is damaged; only its beginning could be read.").arg(path);
    for (const std::string& tag : m_scene->m_tags)
        m_tags << FromUtf8(tag);
}

CSceneViewModel::~CSceneViewModel() = default;

QString CSceneViewModel::name() const
{
    return FromUtf8(m_scene->GetName());
}

QString CSceneViewModel::author() const
{
    return FromUtf8(m_scene->m_author);
}

QString CSceneViewModel::id() const
{
    return FromUtf8(m_scene->GetId());
}

bool CSceneViewModel::relicensingPossible() const
{
    return m_scene->m_relicensingPossible;
}

QString CSceneViewModel::description() const
{
    return FromUtf8(m_scene->m_desc);
}

QString CSceneViewModel::license() const
{
    return FromUtf8(m_scene->m_licenseType);
}

QString CSceneViewModel::licenseImage() const
{
    if (m_scene->m_licenseType.empty())
        return {};
    QString text = license();
    text.replace(u' ', u'-').remove(QStringLiteral("-3.0")).remove(QStringLiteral("-4.0"));
    return QStringLiteral("icons/") + text.toLower() + QStringLiteral(".png");
}

void CSceneViewModel::setFilepath(const QString& path)
{
    SetAndNotify(m_filepath, path, this, &CSceneViewModel::filepathChanged);
}

void CSceneViewModel::setSelected(bool selected)
{
    SetAndNotify(m_selected, selected, this, &CSceneViewModel::selectedChanged);
}

ESceneKind CSceneViewModel::kind() const
{
    return SceneKind(m_scene->m_sceneType);
}

int32_t CSceneViewModel::sceneType() const
{
    return m_scene->m_sceneType;
}

void CSceneViewModel::addTag(const QString& tag)
{
    m_tags << tag;
    m_scene->m_tags.push_back(tag.toStdString());
    Q_EMIT tagsChanged();
    RewriteFile([&tag](CScene& scene) { scene.m_tags.push_back(tag.toStdString()); });
}

void CSceneViewModel::removeTag(const QString& tag)
{
    const std::string text = tag.toStdString();
    const auto drop = [&text](std::vector<std::string>& tags) { std::erase(tags, text); };
    m_tags.removeAll(tag);
    drop(m_scene->m_tags);
    Q_EMIT tagsChanged();
    RewriteFile([&drop](CScene& scene) { drop(scene.m_tags); });
}

void CSceneViewModel::setRelicensingPossible(bool balue)
{
    m_scene->m_relicensingPossible = balue;
    Q_EMIT relicensingPossibleChanged();
    RewriteFile([balue](CScene& scene) { scene.m_relicensingPossible = balue; });
}

void CSceneViewModel::RewriteFile(const std::function<void(CScene&)>& change)
{
    const std::string path = LocalPath(m_filepath);
    CScene scene;
    // Writing back a file that was read only in part would lose the rest.
    if (!scene.Load(path, true) || scene.ReadFailed()) {
        Error("The scene \"%s\" is not changed on disk: it can't be read whole", path.c_str());
        return;
    }
    change(scene);
    scene.Save(path, false);
}
