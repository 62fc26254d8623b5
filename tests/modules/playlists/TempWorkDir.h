#pragma once
// Makes a fresh temporary directory the working directory for the lifetime of the object and
// restores the previous one afterwards, so that relative data paths ("data-rw/...") land in it.
#include <QDir>
#include <QTemporaryDir>

class TempWorkDir
{
public:
    TempWorkDir() : m_previous(QDir::currentPath())
    {
        m_entered = m_dir.isValid() && QDir::setCurrent(m_dir.path());
    }
    ~TempWorkDir() { QDir::setCurrent(m_previous); }
    TempWorkDir(const TempWorkDir&) = delete;
    TempWorkDir& operator=(const TempWorkDir&) = delete;

    bool isValid() const { return m_entered; }
    QString path() const { return m_dir.path(); }

private:
    QString m_previous;
    QTemporaryDir m_dir;
    bool m_entered = false;
};
