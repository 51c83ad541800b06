#pragma once

#include <QObject>
#include <QString>

#include <memory>

class QLocalServer;

// One front end per user and user folder: a later start finds the running
// one through a local socket, asks it to come to the front and ends.
class CSingleInstance : public QObject
{
    Q_OBJECT

public:
    // `userPath` is part of the name, so that runs with another user folder
    // (tests among them) don't meet.
    explicit CSingleInstance(const QString& userPath, QObject* parent = nullptr);
    ~CSingleInstance() override;

    // True when another instance answered and was asked to come forward.
    bool RaiseRunning();
    // Starts listening for later starts; false, with a log line, if the
    // name can't be taken.
    bool Listen();
    const QString& Name() const { return m_name; }

Q_SIGNALS:
    void raiseRequested();

private:
    QString m_name;
    std::unique_ptr<QLocalServer> m_server;
};
