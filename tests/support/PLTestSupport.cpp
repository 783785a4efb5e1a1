#include "PLTestSupport.h"

#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#if defined(__SANITIZE_THREAD__)
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#endif

namespace PLTest {

void resetSettings()
{
    const QString folder = qEnvironmentVariable("XDG_CONFIG_HOME");
    const QString path = QDir(folder).filePath(QStringLiteral("plumeo/test-%1.ini").arg(QUuid::createUuid().toString(QUuid::Id128)));
    PLUserDefaults::resetStandardUserDefaults(path);
    PLUserDefaults::standardUserDefaults().registerDefaults(PLRegisteredUserDefaults());
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write test file %s", qPrintable(path));
    file.write(bytes);
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

QString dataPath(const QString &relative)
{
    return QDir(QStringLiteral(PLUMEO_TEST_DATA_DIR)).filePath(relative);
}

void prepareProcess()
{
#if defined(__SANITIZE_THREAD__)
    // QProcess starts children with clone(CLONE_VM | CLONE_VFORK | CLONE_PIDFD) when the kernel
    // has pidfds. ThreadSanitizer does not intercept that clone, so the child runs on the parent's
    // memory and corrupts the sanitizer's state (false reports, impossible stacks). Qt probes for
    // pidfds with waitid(P_PIDFD, ...) and falls back to a plain fork(), which the sanitizer does
    // follow, when that call fails with ENOSYS: make it fail so, for this process and its children.
    constexpr unsigned idTypePidfd = 3; // P_PIDFD, missing from older C library headers
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_waitid, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[0])),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, idTypePidfd, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    sock_fprog program{static_cast<unsigned short>(sizeof filter / sizeof filter[0]), filter};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        std::perror("cannot make child processes start with fork under ThreadSanitizer");
#endif
}

}
