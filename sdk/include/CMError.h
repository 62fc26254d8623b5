#pragma once
// CMError: the error of a reply. JSON {"name", "message", "title"}. The name says what went wrong:
// NotFound (nothing handles the path), BadRequest (the request is malformed or refused), Timeout (no
// answer came in time), NoAnswer (the request was dropped unanswered); a module may use names of its
// own. Every name reaches the requester as it is.
#include <QMetaType>
#include <QString>
#include <QVariant>

#include "Language.h"

class CMError
{
public:
    CMError() = default;
    CMError(const QString& name, const QString& message, const QString& title = DefaultTitle())
        : m_name(name), m_message(message), m_title(title)
    {
    }

    static QString DefaultName() { return QStringLiteral("Error"); }
    static QString DefaultTitle() { return QStringLiteral("Error"); }
    static QString NotFoundName() { return QStringLiteral("NotFound"); }
    static QString BadRequestName() { return QStringLiteral("BadRequest"); }
    static QString TimeoutName() { return QStringLiteral("Timeout"); }
    static QString NoAnswerName() { return QStringLiteral("NoAnswer"); }

    QString Name() const { return m_name; }
    QString Message() const { return m_message; }
    QString Title() const { return m_title; }
    void setName(const QString& v) { m_name = v; }
    void setMessage(const TrString& v) { m_message = v.toString(); }
    void setMessage(const QString& v) { m_message = v; }
    void setTitle(const QString& v) { m_title = v; }

    bool isNull() const { return m_name.isEmpty() && m_message.isEmpty(); }
    QVariantHash toVariantHash() const;
    static CMError fromVariantHash(const QVariantHash& hash);

private:
    QString m_name;
    QString m_message;
    QString m_title;
};

Q_DECLARE_METATYPE(CMError)
