#include "CMSubscribe.h"

#include "CMEventHub.h"
#include "KeloLog.h"

namespace {
QVariantHash rowsEvent(const CMPath& path, const QString& change, int from, int to)
{
    return QVariantHash{{QStringLiteral("path"), path.toEncoded()},
                        {QStringLiteral("change"), change},
                        {QStringLiteral("from"), from},
                        {QStringLiteral("to"), to}};
}
}  // namespace

// A view matches by prefix on the client's side, so the event of a whole subtree names only its root.
void CMSubscribe::changedStartingWith(const CMPath& path, const QString& change, int from, int to)
{
    KELO_LOG_TRACE(KeloLog::FrameworkLogger, "views under " << path.toEncoded() << ": " << change);
    CMEventHub::instance().publish(rowsEvent(path, change, from, to));
}

void CMSubscribe::rowsChanged(const CMPath& path, const QString& change, int from, int to)
{
    KELO_LOG_TRACE(KeloLog::FrameworkLogger, "view " << path.toEncoded() << ": " << change);
    CMEventHub::instance().publish(rowsEvent(path, change, from, to));
}

void CMSubscribe::rowsChanged(const CMPath& path, const QStringList& changes, int from, int to)
{
    KELO_LOG_TRACE(KeloLog::FrameworkLogger, "rows of " << path.toEncoded() << ": " << changes.join(QLatin1Char(',')));
    QVariantHash event = rowsEvent(path, RowsChangeRows(), from, to);
    QVariantList rows;
    rows.reserve(changes.size());
    for (const QString& change : changes)
        rows.append(change);
    event.insert(QStringLiteral("rows"), rows);
    CMEventHub::instance().publish(event);
}

void CMSubscribe::rowsInserted(const CMPath& path, int first, int count, int from, int to)
{
    // Thousands of rows added at once would otherwise become thousands of texts nobody reads.
    if (!CMEventHub::instance().hasSubscribers())
        return;
    QStringList changes;
    changes.reserve(count);
    for (int row = first; row < first + count; ++row)
        changes.append(QLatin1Char('+') + QString::number(row));
    rowsChanged(path, changes, from, to);
}
