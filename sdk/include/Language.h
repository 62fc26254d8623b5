#pragma once
// Translation. Texts are English in the source; Language::ntr looks them up in the loaded catalogue
// under a context (the enclosing function's signature, reduced by trExtractContext) and passes them
// through unchanged when there is no entry. Thread-safe: the catalogue is read under a lock.
#include <QList>
#include <QString>
#include <QVariant>

class Language
{
public:
    static QString ntr(const QString& context, const QString& sourceText);
    // Loads a catalogue: a JSON object {"<context>": {"<source>": "<translation>"}}. Returns false
    // (and keeps the catalogue it had) when the file cannot be read or is not of that form.
    static bool loadCatalogue(const QString& fileName);
    static void clearCatalogue();
};

// "void Controller::plCreate(CMSetDataRequest, QString&, int&)" -> "Controller::plCreate".
QString trExtractContext(const char* prettyFunction);

// An argument of a translatable text: a name that is inserted untranslated into "%1".
class TrArg
{
public:
    TrArg(const QString& text) : m_text(text) {}  // NOLINT: names convert implicitly
    QString toString() const { return m_text; }

private:
    QString m_text;
};

// A text that is translated when it is shown: a source text with its context and arguments, or a
// plain text (a playlist's name) that is shown as it is.
class TrString
{
public:
    TrString() = default;
    TrString(const QString& plain) : m_source(plain), m_plain(true) {}  // NOLINT
    TrString(const QString& context, const QString& source, const QList<TrArg>& args = {})
        : m_context(context), m_source(source), m_args(args), m_plain(false)
    {
    }
    QString toString() const;  // translated, with "%1", "%2"... filled from the arguments
    QString source() const { return m_source; }
    QString context() const { return m_context; }
    bool isEmpty() const { return m_source.isEmpty(); }

private:
    QString m_context;
    QString m_source;
    QList<TrArg> m_args;
    bool m_plain = true;
};

// Translates a literal with the enclosing function as context.
#define KELO_TR(text) Language::ntr(trExtractContext(Q_FUNC_INFO), QStringLiteral(text))
// A TrString of a literal with the enclosing function as context, optionally with arguments.
#define KELO_TRS(text, ...) TrString(trExtractContext(Q_FUNC_INFO), QStringLiteral(text), ##__VA_ARGS__)
