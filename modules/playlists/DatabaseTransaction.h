#pragma once
// A transaction of a Database that ends with its scope: "BEGIN;" or "BEGIN IMMEDIATE;" when made,
// "ROLLBACK;" when it goes out of scope unless commit() succeeded. Lives on the stack of one
// Database operation, on the Database's thread.
#include <sqlite3.h>

#include "Database.h"

class DatabaseTransaction
{
public:
    enum Kind { Deferred, Immediate };

    DatabaseTransaction(Database& database, Kind kind) : m_database(database)
    {
        const int rc = kind == Immediate ? database.beginImmediateTransaction() : database.beginTransaction();
        m_open = rc == SQLITE_OK;
    }
    ~DatabaseTransaction()
    {
        if (m_open)
            m_database.rollbackTransaction();
    }
    DatabaseTransaction(const DatabaseTransaction&) = delete;
    DatabaseTransaction& operator=(const DatabaseTransaction&) = delete;

    // False when BEGIN failed: nothing may be changed then, since it would not be undone (and a
    // transaction already open belongs to someone else, so it is not rolled back either).
    bool isOpen() const { return m_open; }

    // "COMMIT;" (retried as commitTransaction does). True when committed; otherwise the destructor
    // still rolls back whatever is left of the transaction.
    bool commit()
    {
        if (!m_open || !m_database.commitTransaction())
            return false;
        m_open = false;
        return true;
    }

private:
    Database& m_database;
    bool m_open = false;
};
