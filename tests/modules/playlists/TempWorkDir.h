#pragma once
// Makes a fresh temporary directory the working directory for the lifetime of the object and
// restores the previous one afterwards, so that relative data paths ("data-rw/...") land in it.
// The directory lies in memory (/dev/shm) where there is one: every SQLite commit syncs, and on a
// disk that makes tests of thousands of commits take minutes. A killed process loses nothing there
// either, since what it wrote is in the page cache. A base folder given (the benchmarks take one from
// their environment) replaces that choice.
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

class TempWorkDir
{
public:
    explicit TempWorkDir(const QString& base = QString())
        : m_previous(QDir::currentPath()),
          m_dir((base.isEmpty() ? memoryOrTemp() : base) + QStringLiteral("/kelo-test-XXXXXX"))
    {
        m_entered = m_dir.isValid() && QDir::setCurrent(m_dir.path());
    }
    ~TempWorkDir() { QDir::setCurrent(m_previous); }
    TempWorkDir(const TempWorkDir&) = delete;
    TempWorkDir& operator=(const TempWorkDir&) = delete;

    bool isValid() const { return m_entered; }
    QString path() const { return m_dir.path(); }

private:
    static QString memoryOrTemp()
    {
        const QFileInfo shm(QStringLiteral("/dev/shm"));
        return shm.isDir() && shm.isWritable() ? shm.filePath() : QDir::tempPath();
    }

    QString m_previous;
    QTemporaryDir m_dir;
    bool m_entered = false;
};
