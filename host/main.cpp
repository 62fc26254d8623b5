// kelo-host: loads the plug-in workers as a device does and opens them to clients over HTTP.
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSocketNotifier>
#include <csignal>
#include <cstdio>
#include <sys/signalfd.h>
#include <unistd.h>

#include "Host.h"
#include "KeloLog.h"
#include "Options.h"
#include "HostLog.h"

namespace {

int fail(const QString& message)
{
    std::fprintf(stderr, "kelo-host: %s\n", qPrintable(message));
    return 2;
}

// SIGINT and SIGTERM are blocked in every thread (threads inherit the mask, so this runs before any
// is made) and read from a signalfd in the event loop, where stopping is safe.
sigset_t terminationSignals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

bool enterDataDir(const QString& dir, QString* error)
{
    if (!QDir().mkpath(dir) || !QDir::setCurrent(dir)) {
        *error = QStringLiteral("cannot use %1 as the data directory").arg(dir);
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char* argv[])
{
    const sigset_t stopSignals = terminationSignals();
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);  // a client that went away is a failed write, not the end of the host

    QCoreApplication app(argc, argv);
    Options options;
    QString error;
    if (!Options::parse(app.arguments().mid(1), &options, &error))
        return fail(error);
    if (options.help) {
        std::fputs(qPrintable(Options::usage()), stdout);
        return 0;
    }
    if (!options.logConfig.isEmpty() && !QFileInfo(options.logConfig).isReadable())
        return fail(QStringLiteral("cannot read the log configuration %1").arg(options.logConfig));
    if (!enterDataDir(options.dataDir, &error))
        return fail(error);
    KeloLog::configure(options.logConfig);

    const int signalFd = signalfd(-1, &stopSignals, SFD_CLOEXEC);
    QSocketNotifier notifier(signalFd, QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &app, [&] {
        signalfd_siginfo info{};
        if (read(signalFd, &info, sizeof info) == sizeof info)
            KELO_LOG_INFO(HostLogger, "signal " << info.ssi_signo << ", stopping");
        app.quit();
    });

    Host host(options);
    if (!host.start(&error))
        return fail(error);
    app.exec();
    host.stop();
    close(signalFd);
    return 0;
}
