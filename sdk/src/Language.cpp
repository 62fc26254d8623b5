#include "Language.h"

#include <QFile>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QReadLocker>
#include <QReadWriteLock>
#include <QWriteLocker>

namespace {

using Entries = QHash<QString, QHash<QString, QString>>;

struct Catalogue
{
    QReadWriteLock lock;
    Entries entries;
};

Catalogue& catalogue()
{
    static Catalogue instance;
    return instance;
}

bool readCatalogue(const QString& fileName, Entries* out)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson(file.readAll(), &error);
    if (error.error != QJsonParseError::NoError || !doc.isObject())
        return false;
    const QJsonObject contexts = doc.object();
    for (auto c = contexts.begin(); c != contexts.end(); ++c) {
        if (!c.value().isObject())
            return false;
        const QJsonObject texts = c.value().toObject();
        QHash<QString, QString>& translations = (*out)[c.key()];
        for (auto t = texts.begin(); t != texts.end(); ++t) {
            if (!t.value().isString())
                return false;
            translations.insert(t.key(), t.value().toString());
        }
    }
    return true;
}

// Fills "%1".."%99" in one pass, so an argument that itself holds "%2" is inserted as it is.
// A marker without a matching argument stays in the text.
QString fillArguments(const QString& text, const QList<TrArg>& args)
{
    QString out;
    out.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        int digits = 0;
        int number = 0;
        while (c == QLatin1Char('%') && digits < 2 && i + 1 + digits < text.size() &&
               text.at(i + 1 + digits).isDigit()) {
            number = number * 10 + text.at(i + 1 + digits).digitValue();
            ++digits;
        }
        if (digits > 0 && number >= 1 && number <= args.size()) {
            out += args.at(number - 1).toString();
            i += digits;
        } else {
            out += c;
        }
    }
    return out;
}

bool isIdentifierChar(QChar c)
{
    return c.isLetterOrNumber() || c == QLatin1Char('_');
}

bool endsWithOperatorKeyword(const QString& name)
{
    static const QString keyword = QStringLiteral("operator");
    if (!name.endsWith(keyword))
        return false;
    const int before = name.size() - keyword.size() - 1;
    return before < 0 || !isIdentifierChar(name.at(before));
}

// Copies the operator's symbol or conversion type that follows "operator" at text[i]; returns the index
// of the parameter list's '('.
int copyOperator(const QString& text, int i, QString* name)
{
    static const QString symbols = QStringLiteral("+-*/%^&|~!=<>,[]");
    if (text.midRef(i).startsWith(QLatin1String("()"))) {
        *name += QLatin1String("()");
        return i + 2;
    }
    if (i < text.size() && symbols.contains(text.at(i))) {
        while (i < text.size() && symbols.contains(text.at(i)))
            *name += text.at(i++);
        return i;
    }
    // A conversion operator or new/delete: everything up to the parameter list belongs to the name.
    int depth = 0;
    for (; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == QLatin1Char('(') && depth == 0)
            break;
        depth += c == QLatin1Char('<') ? 1 : c == QLatin1Char('>') ? -1 : 0;
        *name += c;
    }
    return i;
}

QString qualifiedName(const QString& text)
{
    static const QString anonymousNamespace = QStringLiteral("(anonymous namespace)");
    QString name;
    int angle = 0;
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (angle > 0) {  // template arguments are left out of the context
            angle += c == QLatin1Char('<') ? 1 : c == QLatin1Char('>') ? -1 : 0;
            continue;
        }
        if (c == QLatin1Char('<') && !endsWithOperatorKeyword(name)) {
            ++angle;
        } else if (c == QLatin1Char(' ') && !endsWithOperatorKeyword(name)) {
            name.clear();  // what came before was the return type or a specifier
        } else if (c == QLatin1Char('(') && text.midRef(i).startsWith(anonymousNamespace)) {
            name += anonymousNamespace;
            i += anonymousNamespace.size() - 1;
        } else if (c == QLatin1Char('(') && !name.isEmpty() && !endsWithOperatorKeyword(name)) {
            return name;  // the parameter list; a lambda's own part comes after it and is left out
        } else if (endsWithOperatorKeyword(name) && !isIdentifierChar(c)) {
            const int from = c == QLatin1Char(' ') ? i + 1 : i;
            if (c == QLatin1Char(' '))
                name += c;
            i = copyOperator(text, from, &name) - 1;
        } else if (c != QLatin1Char('(')) {  // a '(' before any name opens a function-pointer declarator
            name += c;
        }
    }
    return name;
}

}  // namespace

QString Language::ntr(const QString& context, const QString& sourceText)
{
    Catalogue& c = catalogue();
    QReadLocker locker(&c.lock);
    const auto texts = c.entries.constFind(context);
    if (texts == c.entries.constEnd())
        return sourceText;
    const QString translated = texts->value(sourceText);
    return translated.isEmpty() ? sourceText : translated;
}

bool Language::loadCatalogue(const QString& fileName)
{
    Entries entries;
    if (!readCatalogue(fileName, &entries))
        return false;
    Catalogue& c = catalogue();
    QWriteLocker locker(&c.lock);
    c.entries = std::move(entries);
    return true;
}

void Language::clearCatalogue()
{
    Catalogue& c = catalogue();
    QWriteLocker locker(&c.lock);
    c.entries.clear();
}

QString trExtractContext(const char* prettyFunction)
{
    if (!prettyFunction)
        return QString();
    QString text = QString::fromUtf8(prettyFunction);
    const int with = text.indexOf(QLatin1String(" [with "));
    if (with >= 0)
        text.truncate(with);
    return qualifiedName(text);
}

QString TrString::toString() const
{
    if (m_plain)
        return m_source;
    return fillArguments(Language::ntr(m_context, m_source), m_args);
}
