#pragma once

#include "app/regularfile.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <span>
#include <string>

class QFile;
class QuaZip;

// A scene's zip container. Entries are read into memory by name, never
// extracted, and each read is bounded so that a crafted archive can't make
// the process inflate without end.
class CSceneContainer
{
public:
    static constexpr qint64 MaxEntrySize = FileLimit::Scene;

    struct SEntry
    {
        QString m_name;
        QByteArray m_data;
    };

    CSceneContainer();
    ~CSceneContainer();
    CSceneContainer(const CSceneContainer&) = delete;
    CSceneContainer& operator=(const CSceneContainer&) = delete;

    // Opens an existing archive for reading; only a regular file is opened.
    bool Open(const std::string& path);
    // The entry of that name, found without regard to case. False when it is
    // missing, damaged or larger than MaxEntrySize; the last is logged.
    bool Read(const QString& name, QByteArray& data);

    // Writes a new archive with the entries in their order. The archive
    // replaces a file at `path` only when it has reached the disk whole, so
    // a failed write leaves an old file as it was.
    static bool Write(const std::string& path, std::span<const SEntry> entries);

private:
    // Declared first: the archive must close before its file.
    std::unique_ptr<QFile> m_file;
    std::unique_ptr<QuaZip> m_zip;
    std::string m_path;
};
