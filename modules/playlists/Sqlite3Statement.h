#pragma once
// One prepared SQLite statement with a name for the log. A plain type, not thread-safe: it keeps the
// state of one execution (bound values, cursor) between the binds and reset(), so it is used by one
// operation at a time on the thread that owns its connection.
//
// Usage: bind every parameter (1-based), step, read columns, then reset(). A failed reset() is how a
// failed step shows up (SQLite reports the step's error there), so callers treat it as the failure.
#include <memory>

#include <QByteArray>
#include <QList>
#include <QString>

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

    bool bindInt(int index, int value);
    // Binds without a copy: the UTF-8 bytes stay alive in this object until the next reset().
    bool bindText(int index, const QString& value);

    int step();  // the raw SQLite result code
    bool step_row();  // true when a row is ready to be read
    int columnInt(int index) const;
    QString columnText(int index) const;  // NULL reads as a null QString

    // Resets the cursor and drops the bound texts in any case. False (after an ERROR log with the
    // statement's name and SQLite's message) when the last step had failed.
    bool reset();

    const QString& name() const { return m_name; }
    sqlite3_stmt* handle() const { return m_statement; }

private:
    Sqlite3Statement(sqlite3_stmt* statement, const QString& name);

    sqlite3_stmt* m_statement;
    QString m_name;
    QList<QByteArray> m_boundTexts;
};
