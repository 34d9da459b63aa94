#include <Session/LockInfo.h>

#include <Orvanta/CallTree.h>

#include <QDateTime>
#include <QFileInfo>
#include <QLockFile>

SLockEvent ExecutionLock(ELockState state)
{
    SLockEvent lock;
    lock.state = state;
    lock.file = GetLockFilePath();
    const QString path = QString::fromStdString(lock.file);
    qint64 process = 0;
    QString host;
    QString program;
    if (QLockFile(path).getLockInfo(&process, &host, &program))
    {
        lock.process = static_cast<std::uint64_t>(process);
        lock.host = host.toStdString();
        lock.since = std::chrono::system_clock::time_point(
            std::chrono::milliseconds(QFileInfo(path).lastModified().toMSecsSinceEpoch()));
    }
    return lock;
}
