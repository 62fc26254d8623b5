#include "Sqlite3Statement.h"

#include <sqlite3.h>

#include "KeloLog.h"

std::unique_ptr<Sqlite3Statement> Sqlite3Statement::create(sqlite3* db, const QString& sql, const QString& name)
{
    sqlite3_stmt* statement = nullptr;
    const int rc = sqlite3_prepare_v2(db, sql.toUtf8().constData(), -1, &statement, nullptr);
    if (rc != SQLITE_OK) {
        KELO_LOG_FATAL("PlayLists", "Unable to prepare statement " << name << ": " << sqlite3_errstr(rc));
        sqlite3_finalize(statement);
        return nullptr;
    }
    return std::unique_ptr<Sqlite3Statement>(new Sqlite3Statement(statement, name));
}

Sqlite3Statement::Sqlite3Statement(sqlite3_stmt* statement, const QString& name)
    : m_statement(statement), m_name(name)
{
}

Sqlite3Statement::~Sqlite3Statement()
{
    sqlite3_finalize(m_statement);
}

bool Sqlite3Statement::bindInt(int index, int value)
{
    return sqlite3_bind_int(m_statement, index, value) == SQLITE_OK;
}

bool Sqlite3Statement::bindText(int index, const QString& value)
{
    m_boundTexts.append(value.toUtf8());
    const QByteArray& bytes = m_boundTexts.last();
    // constData() of an empty buffer is "", never null, so an empty QString binds '' and not NULL.
    return sqlite3_bind_text(m_statement, index, bytes.constData(), bytes.size(), SQLITE_STATIC) == SQLITE_OK;
}

int Sqlite3Statement::step()
{
    return sqlite3_step(m_statement);
}

bool Sqlite3Statement::step_row()
{
    return sqlite3_step(m_statement) == SQLITE_ROW;
}

int Sqlite3Statement::columnInt(int index) const
{
    return sqlite3_column_int(m_statement, index);
}

QString Sqlite3Statement::columnText(int index) const
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, index));
    if (!text)
        return QString();
    return QString::fromUtf8(text, sqlite3_column_bytes(m_statement, index));
}

bool Sqlite3Statement::reset()
{
    const int rc = sqlite3_reset(m_statement);
    if (!m_boundTexts.isEmpty()) {
        // The bindings point into the buffers about to be freed: a later step without fresh binds
        // must read NULL, not freed memory.
        sqlite3_clear_bindings(m_statement);
        m_boundTexts.clear();
    }
    if (rc == SQLITE_OK)
        return true;
    KELO_LOG_ERROR("PlayLists", "Unable to reset sql statement: " << m_name
                                    << " msg: " << sqlite3_errmsg(sqlite3_db_handle(m_statement)));
    return false;
}
