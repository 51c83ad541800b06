#pragma once

#include "app/paths.h"
#include "scene/nodefactory.h"
#include "support/tempdir.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <string>

// The path macros pointed at folders of the test's own, and the node types
// known, so that scene files can be read whole and written back.
class CConfigFixture
{
public:
    CConfigFixture();
    ~CConfigFixture();
    CConfigFixture(const CConfigFixture&) = delete;
    CConfigFixture& operator=(const CConfigFixture&) = delete;

    QString AppPath(const QString& relative) const;
    QString UserPath(const QString& relative) const;

    // Writes a scene container without pictures; `type` is m_sceneType.
    static void MakeScene(const QString& path, int32_t type, const QStringList& tags = {},
                          bool relicensingPossible = true);
    // A shipped scene with both pictures, copied to `path`.
    static void CopyShippedScene(const QString& path);

private:
    CTempDir m_dir;
    CPaths m_saved;
    CNodeFactory* m_factory;
};
