#include "scene/scenecontainer.h"

#include "app/log.h"
#include "app/regularfile.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>
#include <quazip/quazip.h>
#include <quazip/quazipfile.h>
#include <quazip/quazipnewinfo.h>

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

bool WriteArchive(const QString& path, std::span<const CSceneContainer::SEntry> entries)
{
    QuaZip zip(path);
    if (!zip.open(QuaZip::mdCreate))
        return false;
    bool ok = true;
    for (const auto& entry : entries) {
        QuaZipFile file(&zip);
        // Deflate at the default level, raw stream: what every zip reader takes.
        QuaZipNewInfo info(entry.m_name);
        // Without permissions unzip makes files nobody may read; an author
        // opening a container by hand expects ordinary files.
        info.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup |
                            QFileDevice::ReadOther);
        if (!file.open(QIODevice::WriteOnly, info)) {
            ok = false;
            break;
        }
        ok = file.write(entry.m_data) == entry.m_data.size();
        file.close();
        if (!ok || file.getZipError() != ZIP_OK) {
            ok = false;
            break;
        }
    }
    zip.close();
    return ok && zip.getZipError() == ZIP_OK;
}

// The data must be on disk before the rename makes it the scene file.
bool SyncFile(const QString& path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool ok = ::fsync(fd) == 0;
    ::close(fd);
    return ok;
}

} // namespace

CSceneContainer::CSceneContainer() = default;
CSceneContainer::~CSceneContainer() = default;

bool CSceneContainer::Open(const std::string& path)
{
    m_path = path;
    m_zip.reset();
    m_file.reset();
    std::string why;
    const int fd = OpenRegularFile(path, why);
    if (fd < 0)
        return Error("Scene file \"%s\" %s", path.c_str(), why.c_str());
    // QuaZip would open the name itself, FIFOs and devices too; it takes an
    // open device as it is.
    m_file = std::make_unique<QFile>();
    if (!m_file->open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        m_file.reset();
        return false;
    }
    m_zip = std::make_unique<QuaZip>(m_file.get());
    if (m_zip->open(QuaZip::mdUnzip))
        return true;
    m_zip.reset();
    m_file.reset();
    return false;
}

bool CSceneContainer::Read(const QString& name, QByteArray& data)
{
    data.clear();
    if (!m_zip || !m_zip->setCurrentFile(name, QuaZip::csInsensitive))
        return false;
    QuaZipFile file(m_zip.get());
    if (!file.open(QIODevice::ReadOnly))
        return false;
    // The size in the directory is checked first; the reader then stops at
    // that size, and the checksum catches an entry that claimed too little.
    if (file.usize() > MaxEntrySize)
        return Error("\"%s\" in \"%s\" claims %lld bytes, more than the %lld allowed", qPrintable(name),
                     m_path.c_str(), static_cast<long long>(file.usize()), static_cast<long long>(MaxEntrySize));

    std::array<char, 65536> buffer;
    for (;;) {
        const qint64 count = file.read(buffer.data(), qint64(buffer.size()));
        if (count <= 0)
            break;
        if (data.size() + count > MaxEntrySize) {
            data.clear();
            return Error("\"%s\" in \"%s\" inflates to more than %lld bytes", qPrintable(name), m_path.c_str(),
                         static_cast<long long>(MaxEntrySize));
        }
        data.append(buffer.data(), count);
    }
    const bool readAll = file.getZipError() == UNZ_OK;
    file.close();
    if (!readAll || file.getZipError() != UNZ_OK) {
        data.clear();
        return false;
    }
    return true;
}

bool CSceneContainer::Write(const std::string& path, std::span<const SEntry> entries)
{
    const QFileInfo target(QString::fromStdString(path));
    QTemporaryFile temp(target.absolutePath() + QStringLiteral("/.") + target.fileName() + QStringLiteral(".XXXXXX"));
    if (!temp.open())
        return false;
    const QString tempName = temp.fileName();
    temp.close();
    if (!WriteArchive(tempName, entries) || !SyncFile(tempName))
        return false;

    // A temporary file is private to its owner; the scene gets the
    // permissions of the file it replaces, or those of a plain new file.
    QFileDevice::Permissions permissions = QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                           QFileDevice::ReadGroup | QFileDevice::ReadOther;
    if (target.exists())
        permissions = target.permissions();
    QFile::setPermissions(tempName, permissions);

    if (std::rename(QFile::encodeName(tempName).constData(), QFile::encodeName(target.absoluteFilePath()).constData()) != 0)
        return false;
    temp.setAutoRemove(false);
    return true;
}
