#include "CMError.h"

namespace {

const QString kName = QStringLiteral("name");
const QString kMessage = QStringLiteral("message");
const QString kTitle = QStringLiteral("title");

QString textOf(const QVariantHash& hash, const QString& key)
{
    const QVariant v = hash.value(key);
    return v.userType() == QMetaType::QString ? v.toString() : QString();
}

}  // namespace

QVariantHash CMError::toVariantHash() const
{
    return {{kName, m_name}, {kMessage, m_message}, {kTitle, m_title}};
}

CMError CMError::fromVariantHash(const QVariantHash& hash)
{
    return CMError(textOf(hash, kName), textOf(hash, kMessage), textOf(hash, kTitle));
}
