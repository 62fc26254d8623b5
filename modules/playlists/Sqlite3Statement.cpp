#include "Sqlite3Statement.h"

#include <sqlite3.h>

#include "KeloLog.h"
#include "PlayListsLog.h"

std::unique_ptr<Sqlite3Statement> Sqlite3Statement::create(sqlite3* db, const QString& sql, const QString& name)
{
    sqlite3_stmt* statement = nullptr;
    const int rc = sqlite3_prepare_v2(db, sql.toUtf8().constData(), -1, &statement, nullptr);
    if (rc != SQLITE_OK) {
        KELO_LOG_FATAL(PlayListsLogger, "Unable to prepare statement " << name << ": " << sqlite3_errstr(rc));
        sqlite3_finalize(statement);
        return nullptr;
    }
    return std::unique_ptr<Sqlite3Statement>(new Sqlite3Statement(statement, name));
}

Sqlite3Statement::Sqlite3Statement(sqlite3_stmt* statement, const QString& name)
    : m_statement(statement), m_name(name), m_parameterCount(sqlite3_bind_parameter_count(statement))
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
    return bindText(index, value.toUtf8());
}

bool Sqlite3Statement::bindText(int index, const QByteArray& utf8)
{
    m_boundTexts.append(utf8);
    const QByteArray& bytes = m_boundTexts.last();
    // constData() of an empty buffer is "", never null, so an empty QString binds '' and not NULL.
    return sqlite3_bind_text(m_statement, index, bytes.constData(), bytes.size(), SQLITE_STATIC) == SQLITE_OK;
}

int Sqlite3Statement::step()
{
    return sqlite3_step(m_statement);
}

bool Sqlite3Statement::reset()
{
    const int rc = sqlite3_reset(m_statement);
    // A later execution must bind every value afresh; the texts' buffers are about to be freed.
    if (m_parameterCount > 0)
        sqlite3_clear_bindings(m_statement);
    m_boundTexts.clear();
    if (rc == SQLITE_OK)
        return true;
    KELO_LOG_ERROR(PlayListsLogger, "Unable to reset sql statement: " << m_name
                                    << " msg: " << sqlite3_errmsg(sqlite3_db_handle(m_statement)));
    return false;
}

StatementScope& StatementScope::bind(int value)
{
    ++m_bound;
    if (m_bound > m_statement.m_parameterCount || !m_statement.bindInt(m_bound, value))
        m_bindFailed = true;
    return *this;
}

StatementScope& StatementScope::bind(const QString& value)
{
    return bind(value.toUtf8());
}

StatementScope& StatementScope::bind(const QByteArray& utf8)
{
    ++m_bound;
    if (m_bound > m_statement.m_parameterCount || !m_statement.bindText(m_bound, utf8))
        m_bindFailed = true;
    return *this;
}

bool StatementScope::bindsFit()
{
    if (m_checked)
        return !m_bindFailed;
    m_checked = true;
    if (m_bound != m_statement.m_parameterCount)
        m_bindFailed = true;
    if (m_bindFailed)
        KELO_LOG_ERROR(PlayListsLogger, "Values do not fit the parameters of sql statement: "
                                        << m_statement.m_name << " (" << m_bound << " bound, "
                                        << m_statement.m_parameterCount << " expected)");
    return !m_bindFailed;
}

bool StatementScope::step()
{
    if (m_finished || !bindsFit())
        return false;
    return m_statement.step() == SQLITE_ROW;
}

bool StatementScope::run()
{
    while (step()) {
    }
    return finish();
}

int StatementScope::columnInt(int index) const
{
    return sqlite3_column_int(m_statement.m_statement, index);
}

QString StatementScope::columnText(int index) const
{
    sqlite3_stmt* statement = m_statement.m_statement;
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, index));
    if (!text)
        return QString();
    return QString::fromUtf8(text, sqlite3_column_bytes(statement, index));
}

QByteArray StatementScope::columnUtf8(int index) const
{
    sqlite3_stmt* statement = m_statement.m_statement;
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, index));
    if (!text)
        return QByteArray();
    return QByteArray(text, sqlite3_column_bytes(statement, index));
}

bool StatementScope::finish()
{
    if (m_finished)
        return m_result;
    m_finished = true;
    const bool fitted = bindsFit();
    m_result = m_statement.reset() && fitted;
    return m_result;
}
