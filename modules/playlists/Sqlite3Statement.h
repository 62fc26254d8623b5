#pragma once
// One prepared SQLite statement with a name for the log, and StatementScope, the only way to run it.
// Both are plain types, not thread-safe: a statement keeps the state of one execution (bound values,
// cursor) until its scope ends, so it is used by one scope at a time on the thread that owns its
// connection.
#include <memory>
#include <utility>

#include <QByteArray>
#include <QString>
#include <QVector>

struct sqlite3;
struct sqlite3_stmt;

class Sqlite3Statement
{
public:
    // Prepares sql on db. Null (after a FATAL log naming the statement) when SQLite refuses the text.
    static std::unique_ptr<Sqlite3Statement> create(sqlite3* db, const QString& sql, const QString& name);
    // Finalizes the statement; the connection must still be open (closed or zombie).
    ~Sqlite3Statement();
    Sqlite3Statement(const Sqlite3Statement&) = delete;
    Sqlite3Statement& operator=(const Sqlite3Statement&) = delete;

    const QString& name() const { return m_name; }
    sqlite3_stmt* handle() const { return m_statement; }
    int parameterCount() const { return m_parameterCount; }

private:
    friend class StatementScope;
    Sqlite3Statement(sqlite3_stmt* statement, const QString& name);

    bool bindInt(int index, int value);
    // Binds without a copy: the UTF-8 bytes stay alive in this object until the next reset().
    bool bindText(int index, const QString& value);
    bool bindText(int index, const QByteArray& utf8);
    int step();  // the raw SQLite result code
    // Resets the cursor and clears the bindings in any case. False (after an ERROR log with the
    // statement's name and SQLite's message) when the last step had failed: SQLite reports a failed
    // step there.
    bool reset();

    sqlite3_stmt* m_statement;
    QString m_name;
    int m_parameterCount;
    QVector<QByteArray> m_boundTexts;  // clear() keeps the capacity for the next execution
};

// One execution of a statement, for as long as the scope lives. Values are bound in parameter order
// (?1, ?2, ...) and checked against the statement's parameter count; step() and forEachRow() run
// it; when the scope ends the statement is reset and its bindings are cleared, whatever happened, so
// no cursor and no value outlives the scope.
//
// A failed execution shows in finish() (and in run() and forEachRow(), which end with it): false
// when a step failed (the reset's ERROR log names the statement), or when the values bound did not
// match the parameters (an ERROR log says so, and the statement is then never stepped).
class StatementScope
{
public:
    explicit StatementScope(Sqlite3Statement& statement) : m_statement(statement) {}
    ~StatementScope() { finish(); }
    StatementScope(const StatementScope&) = delete;
    StatementScope& operator=(const StatementScope&) = delete;

    // The next parameter's value. A text is bound without a copy of its own (the statement keeps
    // the UTF-8 bytes until the scope ends); an empty text binds '' and never NULL.
    StatementScope& bind(int value);
    StatementScope& bind(const QString& value);
    StatementScope& bind(const QByteArray& utf8);  // a text already in UTF-8
    template <class... Values>
    StatementScope& bindAll(const Values&... values)
    {
        (bind(values), ...);
        return *this;
    }

    // One step: true when a row is ready to be read.
    bool step();
    // Steps to the end and finishes: the result of finish(). For statements that change rows.
    bool run();
    // Calls onRow(scope) for each row, then finishes: the result of finish().
    template <class OnRow>
    bool forEachRow(OnRow&& onRow)
    {
        while (step())
            onRow(static_cast<const StatementScope&>(*this));
        return finish();
    }

    int columnInt(int index) const;
    QString columnText(int index) const;  // NULL reads as a null QString
    QByteArray columnUtf8(int index) const;  // the text's bytes; NULL reads as a null QByteArray

    // Resets the statement now (at most once; later calls answer the same). True when every step
    // succeeded and the values fitted the parameters.
    bool finish();

private:
    bool bindsFit();

    Sqlite3Statement& m_statement;
    int m_bound = 0;
    bool m_bindFailed = false;
    bool m_checked = false;
    bool m_finished = false;
    bool m_result = true;
};
