#include "app/qtmessages.h"

#include "app/log.h"

#include <QString>
#include <QtGlobal>
#include <cstdlib>

namespace {

void HandleQtMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    const QByteArray text = message.toLocal8Bit();
    const char* file = context.file ? context.file : "";
    const char* function = context.function ? context.function : "";
    const unsigned line = static_cast<unsigned>(context.line);
    switch (type) {
    case QtDebugMsg:
    case QtInfoMsg: Log("Debug: %s (%s:%u, %s)", text.constData(), file, line, function); break;
    case QtWarningMsg: Log("Warning: %s (%s:%u, %s)", text.constData(), file, line, function); break;
    case QtCriticalMsg: Log("Critical: %s (%s:%u, %s)", text.constData(), file, line, function); break;
    case QtFatalMsg:
        Log("Fatal: %s (%s:%u, %s)", text.constData(), file, line, function);
        CloseLog();
        abort();
    }
}

} // namespace

void InstallQtMessageHandler()
{
    qInstallMessageHandler(HandleQtMessage);
}
