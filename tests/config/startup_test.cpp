#include "config/singleinstance.h"
#include "support/tempdir.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QThread>

#include <gtest/gtest.h>

namespace {

// lumora-config with a user folder and an installation of the test's own,
// and no screen.
class ConfigStartup : public ::testing::Test
{
protected:
    void Start(QProcess& process, const QStringList& arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_CONFIG_HOME", QString::fromStdString(m_dir.File("home")));
        environment.insert("LUMORA_APPPATH", QString::fromStdString(m_dir.File("app")));
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        process.setProcessEnvironment(environment);
        process.start(LUMORA_CONFIG_PROGRAM, arguments);
        ASSERT_TRUE(process.waitForStarted(10000));
    }
    // Exit code of a run that must end by itself within a few seconds.
    int Run(const QStringList& arguments, QByteArray* errors = nullptr)
    {
        QProcess process;
        Start(process, arguments);
        EXPECT_TRUE(process.waitForFinished(20000));
        if (errors)
            *errors = process.readAllStandardError();
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }
    QString UserFile(const char* relative) const
    {
        return QString::fromStdString(m_dir.File("home/lumora/")) + relative;
    }
    std::string Package(const char* name, const char* content) const
    {
        const std::string path = m_dir.File(name);
        WriteFile(path, content);
        return path;
    }

    CTempDir m_dir;
};

} // namespace

TEST_F(ConfigStartup, MissingImportFileIsReportedAndEndsWithZero)
{
    QByteArray errors;
    EXPECT_EQ(Run({"-i", "/nowhere/gone.lmd"}, &errors), 0);
    EXPECT_TRUE(errors.contains("Unable to find the \"/nowhere/gone.lmd\" file to import")) << errors.toStdString();
}

TEST_F(ConfigStartup, ImportGoesToTheUserScenesAndASecondStartHandsOverToTheFirst)
{
    CHangGuard guard(90);
    QProcess first;
    Start(first, {"-i", QString::fromStdString(Package("First.lmd", "one"))});
    // The first run listens once its start is done.
    CSingleInstance probe(UserFile("").chopped(1));
    const QDeadlineTimer deadline(20000);
    while (!QFile::exists(probe.Name()) && !deadline.hasExpired() && first.state() == QProcess::Running)
        QThread::msleep(50);
    ASSERT_TRUE(QFile::exists(probe.Name())) << first.readAllStandardError().toStdString();
    EXPECT_EQ(ReadFile(UserFile("scenes/Imported/First.lmc").toStdString()), "one");

    EXPECT_EQ(Run({"-i", QString::fromStdString(Package("Second.v1.lmd", "two"))}), 0);
    EXPECT_EQ(ReadFile(UserFile("scenes/Imported/Second.v1.lmc").toStdString()), "two");
    EXPECT_EQ(first.state(), QProcess::Running);

    // Ended by a signal, the first run still saves the settings.
    first.terminate();
    ASSERT_TRUE(first.waitForFinished(20000));
    EXPECT_EQ(first.exitCode(), 0);
    EXPECT_TRUE(QFile::exists(UserFile("config.xml")));
}
