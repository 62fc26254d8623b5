#pragma once
// A transaction of a Database that ends with its scope: "BEGIN;" or "BEGIN IMMEDIATE;" when made,
// "ROLLBACK;" when it goes out of scope unless commit() succeeded. Lives on the stack of one
// Database operation, on the Database's thread.
#include <sqlite3.h>

#include <QThread>

#include "Database.h"
#include "KeloLog.h"
#include "PlayListsLog.h"

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

    // A COMMIT that finds the file busy or locked (a reader holds it: the connection's busy timeout
    // has already waited) is tried again after a growing pause, a bounded number of times. Any
    // other failure (a full disk, a read-only file, a deferred constraint) is final.
    static constexpr int commitAttempts = 4;
    static constexpr int firstCommitPauseMs = 25;

    // "COMMIT;", retried as above. True when committed; otherwise false (ERROR log) and the
    // destructor rolls back whatever is left of the transaction, so nothing of it stays.
    bool commit()
    {
        if (!m_open)
            return false;
        int rc = m_database.commitTransaction();
        for (int attempt = 1, pause = firstCommitPauseMs; isBusy(rc) && attempt < commitAttempts;
             ++attempt, pause *= 2) {
            QThread::msleep(pause);
            rc = m_database.commitTransaction();
        }
        if (rc != SQLITE_OK) {
            KELO_LOG_ERROR(PlayListsLogger, "Commit transaction failed: " << sqlite3_errstr(rc));
            return false;
        }
        m_open = false;
        return true;
    }

private:
    static bool isBusy(int rc) { return (rc & 0xff) == SQLITE_BUSY || (rc & 0xff) == SQLITE_LOCKED; }

    Database& m_database;
    bool m_open = false;
};
