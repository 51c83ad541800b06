#include "platform/configlauncher.h"

#include "app/log.h"

#include <QFileInfo>
#include <QProcess>
#include <QString>

bool LaunchConfigProgram(const std::string& directory)
{
    QString folder = QString::fromStdString(directory);
    if (folder.isEmpty()) {
        const QFileInfo self(QStringLiteral("/proc/self/exe"));
        folder = self.exists() ? QFileInfo(self.symLinkTarget()).absolutePath() : QStringLiteral(".");
    }
    const QString program = folder + QStringLiteral("/lumora-config");
    const QByteArray name = program.toLocal8Bit();
    const QFileInfo file(program);
    if (!file.isFile() || !file.isExecutable()) {
        Error("Failed to launch the configuration: \"%s\" is not there", name.constData());
        return false;
    }
    // Detached: in a session of its own, so that closing the visualizer
    // leaves it running.
    if (!QProcess::startDetached(program, {})) {
        Error("Failed to launch the configuration \"%s\"", name.constData());
        return false;
    }
    Log("Started the configuration \"%s\"", name.constData());
    return true;
}
