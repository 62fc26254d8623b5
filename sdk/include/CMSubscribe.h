#pragma once
// A worker's way to tell user interfaces that rows changed. Calls never block: they publish an event
// to CMEventHub. Event form: {"path", "change": "reset" | "close" | "rows", "rows": [...], "from", "to"}.
// Any thread.
#include <QString>
#include <QStringList>

#include "CMPath.h"

class CMSubscribe
{
public:
    static QString RowsChangeReset() { return QStringLiteral("reset"); }
    static QString RowsChangeClose() { return QStringLiteral("close"); }
    static QString RowsChangeRows() { return QStringLiteral("rows"); }

    // Every view whose path starts with path is told change (reset or close).
    void changedStartingWith(const CMPath& path, const QString& change, int from, int to);
    // The view of exactly this path is told change (reset or close).
    void rowsChanged(const CMPath& path, const QString& change, int from, int to);
    // Rows of exactly this path changed: changes like "+4" (row 4 inserted), "-4" (removed).
    void rowsChanged(const CMPath& path, const QStringList& changes, int from, int to);
    // Rows first .. first + count - 1 of exactly this path were inserted: the event of rowsChanged
    // with "+first" .. "+<last>". Costs nothing but a look at the hub when no view is open.
    void rowsInserted(const CMPath& path, int first, int count, int from, int to);
};
