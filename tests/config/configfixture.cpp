#include "configfixture.h"

#include "nodes/nodetypes.h"
#include "scene/scene.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

CConfigFixture::CConfigFixture() : m_saved(g_paths), m_factory(CNodeFactory::Get())
{
    m_factory->Init(NodeTypes());
    g_paths.m_appPath = m_dir.File("app");
    g_paths.m_userPath = m_dir.File("user");
    g_paths.m_configPath = m_dir.File("user/config.xml");
    QDir().mkpath(AppPath("scenes"));
    QDir().mkpath(UserPath("scenes"));
}

CConfigFixture::~CConfigFixture()
{
    g_paths = m_saved;
    m_factory->Release();
}

QString CConfigFixture::AppPath(const QString& relative) const
{
    return QString::fromStdString(g_paths.m_appPath) + u'/' + relative;
}

QString CConfigFixture::UserPath(const QString& relative) const
{
    return QString::fromStdString(g_paths.m_userPath) + u'/' + relative;
}

void CConfigFixture::MakeScene(const QString& path, int32_t type, const QStringList& tags, bool relicensingPossible)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    CScene scene;
    scene.m_sceneType = type;
    scene.m_relicensingPossible = relicensingPossible;
    for (const QString& tag : tags)
        scene.m_tags.push_back(tag.toStdString());
    ASSERT_TRUE(scene.Save(path.toStdString(), false)) << path.toStdString();
}

void CConfigFixture::CopyShippedScene(const QString& path)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    ASSERT_TRUE(QFile::copy(QStringLiteral(LUMORA_SOURCE_DATA "/scenes/Plasma.lmc"), path));
    QFile::setPermissions(path, QFile::permissions(path) | QFile::WriteOwner);
}
