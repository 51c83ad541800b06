#include "scene/scenecontainer.h"

#include "app/log.h"
#include "app/regularfile.h"

#include <QBuffer>
#include <QFile>
#include <QSaveFile>
#include <quazip/quazip.h>
#include <quazip/quazipfile.h>
#include <quazip/quazipnewinfo.h>

#include <array>
#include <unistd.h>

namespace {

// The archive is made in memory: a scene with its two pictures is small.
bool WriteArchive(QByteArray& archive, std::span<const CSceneContainer::SEntry> entries)
{
    QBuffer buffer(&archive);
    QuaZip zip(&buffer);
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
    QByteArray archive;
    if (!WriteArchive(archive, entries))
        return false;
    // QSaveFile writes beside the file and renames over it only on commit;
    // an uncommitted file is removed. The explicit flush matters: commit()
    // misses a failure of the buffered write it flushes itself.
    QSaveFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::WriteOnly))
        return false;
    return file.write(archive) == archive.size() && file.flush() && file.commit();
}
