// The settings tree of the root worker.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include "CMEventHub.h"
#include "CMRoot.h"
#include "KeloJson.h"
#include "KeloLog.h"

namespace {
QString keyOf(const CMPath& path)
{
    return path.base().toEncoded();
}
}  // namespace

QVariant CMRootWorker::getValue(const CMPath& path) const
{
    QMutexLocker locker(&m_settingsMutex);
    const auto it = m_settings.constFind(keyOf(path));
    return it == m_settings.constEnd() ? QVariant() : it.value().toVariant();
}

QHash<QString, KeloValue> CMRootWorker::allValues() const
{
    QMutexLocker locker(&m_settingsMutex);
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
    QMutexLocker locker(&m_settingsMutex);
    const QString problem = rejection(path, value);
    if (!problem.isEmpty()) {
        KELO_LOG_WARN("Framework", problem);
        return false;
    }
    m_settings.insert(keyOf(path), value);
    return true;
}

void CMRootWorker::setValue(const CMPath& path, const KeloValue& value, const CMReply<QVariant>& reply) const
{
    KeloValue oldValue;
    {
        QMutexLocker locker(&m_settingsMutex);
        const QString problem = rejection(path, value);
        if (!problem.isEmpty()) {
            locker.unlock();
            KELO_LOG_WARN("Framework", problem);
            reply.setError(CMError(CMError::BadRequestName(), problem));
            return;
        }
        oldValue = m_settings.value(keyOf(path));
        m_settings.insert(keyOf(path), value);
        // Written under the lock, so that the file never ends with an older state than memory.
        saveSettings();
    }
    KELO_LOG_INFO("Framework", keyOf(path) << " = " << KeloJson::stringify(value.toVariant()));
    reply.setValue(value.toVariant());
    emit const_cast<CMRootWorker*>(this)->valueChanged(path.base(), value, oldValue);
    CMEventHub::instance().publish({{QStringLiteral("path"), keyOf(path)},
                                    {QStringLiteral("change"), QStringLiteral("value")},
                                    {QStringLiteral("value"), value.toVariant()}});
}

void CMRootWorker::saveSettings() const
{
    if (m_settingsFile.isEmpty())
        return;
    QJsonObject object;
    for (auto it = m_settings.constBegin(); it != m_settings.constEnd(); ++it)
        object.insert(it.key(), it.value().toJson());
    const QByteArray text = QJsonDocument(object).toJson();
    QDir().mkpath(QFileInfo(m_settingsFile).absolutePath());
    // QSaveFile writes a temporary file and renames it: a crash mid-write keeps the previous file.
    QSaveFile file(m_settingsFile);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit())
        KELO_LOG_ERROR("Framework", "cannot write the settings file " << m_settingsFile << ": " << file.errorString());
}

// A settings file that cannot be used never stops the host: the defaults stay, and the next change
// writes a sound file over it.
void CMRootWorker::loadSettings()
{
    if (m_settingsFile.isEmpty() || !QFile::exists(m_settingsFile))
        return;
    QFile file(m_settingsFile);
    if (!file.open(QIODevice::ReadOnly)) {
        KELO_LOG_ERROR("Framework", "cannot read the settings file " << m_settingsFile << ": " << file.errorString()
                                                                     << "; keeping the defaults");
        return;
    }
    bool ok = false;
    QString error;
    const QVariant parsed = KeloJson::parse(file.readAll(), &ok, &error);
    if (!ok || parsed.userType() != QMetaType::QVariantHash) {
        KELO_LOG_ERROR("Framework", "the settings file " << m_settingsFile << " is not a JSON object (" << error
                                                         << "); keeping the defaults");
        return;
    }
    const QVariantHash entries = parsed.toHash();
    QMutexLocker locker(&m_settingsMutex);
    for (auto it = entries.constBegin(); it != entries.constEnd(); ++it) {
        const CMPath path(it.key());
        const KeloValue value(KeloHash(it.value().toHash()));
        const QString problem = rejection(path, value);
        if (problem.isEmpty())
            m_settings.insert(keyOf(path), value);
        else
            KELO_LOG_WARN("Framework", "settings file " << m_settingsFile << ": " << problem << " Skipped.");
    }
}
