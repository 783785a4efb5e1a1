#include "PLSyntaxHighlighterTestSupport.h"

#include <QMutex>

namespace {
QMutex logMutex;
QStringList logMessages;
const char *logCategory = nullptr;
QtMessageHandler forwardTo = nullptr;

void capture(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    {
        QMutexLocker lock(&logMutex);
        if (logCategory && context.category && qstrcmp(context.category, logCategory) == 0) {
            logMessages.append(message);
            return;
        }
    }
    if (forwardTo)
        forwardTo(type, context, message);
}
}

PLLogCapture::PLLogCapture(const char *category)
{
    QMutexLocker lock(&logMutex);
    logCategory = category;
    logMessages.clear();
    m_previous = qInstallMessageHandler(capture);
    forwardTo = m_previous;
}

PLLogCapture::~PLLogCapture()
{
    qInstallMessageHandler(m_previous);
    QMutexLocker lock(&logMutex);
    logCategory = nullptr;
    forwardTo = nullptr;
}

QStringList PLLogCapture::messages() const
{
    QMutexLocker lock(&logMutex);
    return logMessages;
}
