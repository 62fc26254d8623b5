#pragma once
// A test with a kelo-host of its own, started in a temporary directory that the test may also fill.
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "HostProcess.h"

class HostTest : public ::testing::Test
{
protected:
    QString dataDir() const { return m_dir.filePath(QStringLiteral("data")); }
    // Starts the host on dataDir (or on in); a failure is reported with what the host wrote to stderr.
    bool start(const QStringList& arguments = {}, const QString& in = QString())
    {
        const bool started = m_dir.isValid() && m_host.start(in.isEmpty() ? dataDir() : in, arguments);
        EXPECT_TRUE(started) << m_host.errorOutput().toStdString();
        return started;
    }
    // What getData answers for path: its value, or an empty hash.
    QVariantHash value(const QString& path) const
    {
        QVariantHash answer;
        m_host.post("/api/getData", jsonText(QVariantHash{{"path", path}}), &answer);
        return answer.value("value").toHash();
    }
    // What getRows answers for rows fromRow..toRow of path (only roles, when given).
    QVariantHash rows(const QString& path, int fromRow = 0, int toRow = 10000, const QStringList& roles = {}) const
    {
        QVariantHash request = {{"path", path}, {"fromRow", fromRow}, {"toRow", toRow}};
        if (!roles.isEmpty())
            request.insert("roles", roles);
        QVariantHash answer;
        EXPECT_EQ(m_host.post("/api/getRows", jsonText(request), &answer), 200) << path.toStdString();
        return answer;
    }

    QTemporaryDir m_dir;
    HostProcess m_host;
};

// Writes bytes to a new file; false when it could not.
inline bool writeFile(const QString& fileName, const QByteArray& bytes)
{
    QFile file(fileName);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}
