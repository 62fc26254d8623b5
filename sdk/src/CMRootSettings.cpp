// The settings tree of the root worker.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "CMEventHub.h"
#include "CMRoot.h"
#include "KeloJson.h"
#include "KeloLog.h"

namespace {
QString keyOf(const CMPath& path)
{
    return path.base().toEncoded();
}

QString systemError(const char* step)
{
    return QStringLiteral("%1: %2").arg(QLatin1String(step), QString::fromLocal8Bit(std::strerror(errno)));
}

bool writeAll(int fd, const QByteArray& data)
{
    const char* at = data.constData();
    qint64 left = data.size();
    while (left > 0) {
        const ssize_t n = ::write(fd, at, static_cast<size_t>(left));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        at += n;
        left -= n;
    }
    return true;
}

// Writes data to a temporary file beside fileName and renames it over fileName. Every step is
// checked, fsync included: on a full disk the data may only fail to land there, and a file renamed
// before that would replace the previous settings with an empty one. On failure the previous file
// is untouched, the temporary one removed, and *error says which step failed.
bool writeFileAtomically(const QString& fileName, const QByteArray& data, QString* error)
{
    const QByteArray target = QFile::encodeName(fileName);
    const QByteArray temporary = target + ".tmp";
    const int fd = ::open(temporary.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) {
        *error = systemError("open");
        return false;
    }
    bool ok = writeAll(fd, data);
    if (!ok)
        *error = systemError("write");
    if (ok && ::fsync(fd) != 0) {
        *error = systemError("fsync");
        ok = false;
    }
    if (::close(fd) != 0 && ok) {
        *error = systemError("close");
        ok = false;
    }
    if (ok && ::rename(temporary.constData(), target.constData()) != 0) {
        *error = systemError("rename");
        ok = false;
    }
    if (!ok) {
        ::unlink(temporary.constData());
        return false;
    }
    // The rename itself lasts only once the folder is on disk; the file is whole either way.
    const int dir = ::open(QFile::encodeName(QFileInfo(fileName).absolutePath()).constData(), O_RDONLY | O_CLOEXEC);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
    return true;
}
}  // namespace

QVariant CMRootWorker::getValue(const CMPath& path) const
{
    std::unique_lock<std::mutex> locker(m_settingsMutex);
    const auto it = m_settings.constFind(keyOf(path));
    return it == m_settings.constEnd() ? QVariant() : it.value().toVariant();
}

QHash<QString, KeloValue> CMRootWorker::allValues() const
{
    std::unique_lock<std::mutex> locker(m_settingsMutex);
    return m_settings;
}

QString CMRootWorker::rejection(const CMPath& path, const KeloValue& value) const
{
    if (!prefixes().contains(path.prefix()))
        return KELO_TR("%1 is not a settings path.").arg(path.toEncoded());
    if (!value.isWellFormed())
        return KELO_TR("The value for %1 is not a settings value.").arg(path.toEncoded());
    const auto stored = m_settings.constFind(keyOf(path));
    if (stored != m_settings.constEnd() && stored.value().type() != value.type())
        return KELO_TR("The value for %1 must be of type %2.").arg(path.toEncoded(), stored.value().type());
    return QString();
}

bool CMRootWorker::setInitialValue(const CMPath& path, const KeloValue& value)
{
    std::unique_lock<std::mutex> locker(m_settingsMutex);
    const QString problem = rejection(path, value);
    if (!problem.isEmpty()) {
        KELO_LOG_WARN(KeloLog::FrameworkLogger, problem);
        return false;
    }
    m_settings.insert(keyOf(path), value);
    return true;
}

void CMRootWorker::setValue(const CMPath& path, const KeloValue& value, const CMReply<QVariant>& reply) const
{
    KeloValue oldValue;
    {
        std::unique_lock<std::mutex> locker(m_settingsMutex);
        const QString problem = rejection(path, value);
        if (!problem.isEmpty()) {
            locker.unlock();
            KELO_LOG_WARN(KeloLog::FrameworkLogger, problem);
            reply.setError(CMError(CMError::BadRequestName(), problem));
            return;
        }
        const bool existed = m_settings.contains(keyOf(path));
        oldValue = m_settings.value(keyOf(path));
        m_settings.insert(keyOf(path), value);
        // Written under the lock, so that the file never ends with an older state than memory.
        QString saveError;
        if (!saveSettings(&saveError)) {
            // Memory stays as the file is: what was not stored is not confirmed either.
            if (existed)
                m_settings.insert(keyOf(path), oldValue);
            else
                m_settings.remove(keyOf(path));
            locker.unlock();
            KELO_LOG_ERROR(KeloLog::FrameworkLogger, "cannot write the settings file " << m_settingsFile << " (" << saveError
                                                                          << "); " << keyOf(path) << " keeps its value");
            reply.setError(CMError(CMError::DefaultName(),
                                   KELO_TR("The setting %1 could not be stored: %2").arg(keyOf(path), saveError),
                                   KELO_TR("Settings not saved")));
            return;
        }
    }
    KELO_LOG_INFO(KeloLog::FrameworkLogger, keyOf(path) << " = " << KeloJson::stringify(value.toVariant()));
    reply.setValue(value.toVariant());
    emit const_cast<CMRootWorker*>(this)->valueChanged(path.base(), value, oldValue);
    CMEventHub::instance().publish({{QStringLiteral("path"), keyOf(path)},
                                    {QStringLiteral("change"), QStringLiteral("value")},
                                    {QStringLiteral("value"), value.toVariant()}});
}

bool CMRootWorker::saveSettings(QString* error) const
{
    if (m_settingsFile.isEmpty())
        return true;
    QJsonObject object;
    for (auto it = m_settings.constBegin(); it != m_settings.constEnd(); ++it)
        object.insert(it.key(), it.value().toJson());
    const QByteArray text = QJsonDocument(object).toJson();
    QDir().mkpath(QFileInfo(m_settingsFile).absolutePath());
    return writeFileAtomically(m_settingsFile, text, error);
}

// A settings file that cannot be used never stops the host: the defaults stay, and the next change
// writes a sound file over it.
void CMRootWorker::loadSettings()
{
    if (m_settingsFile.isEmpty() || !QFile::exists(m_settingsFile))
        return;
    QFile file(m_settingsFile);
    if (!file.open(QIODevice::ReadOnly)) {
        KELO_LOG_ERROR(KeloLog::FrameworkLogger, "cannot read the settings file " << m_settingsFile << ": " << file.errorString()
                                                                     << "; keeping the defaults");
        return;
    }
    bool ok = false;
    QString error;
    const QVariant parsed = KeloJson::parse(file.readAll(), &ok, &error);
    if (!ok || parsed.userType() != QMetaType::QVariantHash) {
        KELO_LOG_ERROR(KeloLog::FrameworkLogger, "the settings file " << m_settingsFile << " is not a JSON object (" << error
                                                         << "); keeping the defaults");
        return;
    }
    const QVariantHash entries = parsed.toHash();
    std::unique_lock<std::mutex> locker(m_settingsMutex);
    for (auto it = entries.constBegin(); it != entries.constEnd(); ++it) {
        const CMPath path(it.key());
        const KeloValue value(KeloHash(it.value().toHash()));
        const QString problem = rejection(path, value);
        if (problem.isEmpty())
            m_settings.insert(keyOf(path), value);
        else
            KELO_LOG_WARN(KeloLog::FrameworkLogger, "settings file " << m_settingsFile << ": " << problem << " Skipped.");
    }
}
