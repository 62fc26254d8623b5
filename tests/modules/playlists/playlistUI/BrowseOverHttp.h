#pragma once
// The browse tree as a client that knows only the HTTP contract sees it (on pltest::EndToEnd's host),
// and the store as the module wrote it.
#include <QJsonDocument>
#include <QStringList>
#include <QVariantHash>

#include "EndToEndSupport.h"
#include "KeloJson.h"
#include "KeloRoles.h"

namespace browsetest {

using Rows = QList<KeloRoles>;

class BrowseOverHttp : public pltest::EndToEnd
{
protected:
    // Every row of path, page by page. *status: the HTTP status of the last page.
    Rows rows(const QString& path, int* status = nullptr) const
    {
        Rows all;
        int total = 0;
        do {
            const QVariantHash page =
                post("/api/getRows", {{"path", path}, {"fromRow", all.size()}, {"toRow", all.size() + 49}}, status);
            if (page.isEmpty())
                return all;
            total = page.value("rowsCount").toInt();
            const QVariantList list = page.value("rows").toList();
            if (list.isEmpty())
                break;
            for (const QVariant& r : list)
                all.append(KeloRoles(KeloHash(r.toHash())));
        } while (all.size() < total);
        EXPECT_EQ(all.size(), total) << path.toStdString();
        return all;
    }

    static QStringList titles(const Rows& rows)
    {
        QStringList result;
        for (const KeloRoles& r : rows)
            result.append(r.title());
        return result;
    }

    // The row titled title among the rows of path; an empty row (and a failure) when there is none.
    KeloRoles row(const QString& path, const QString& title) const
    {
        for (const KeloRoles& r : rows(path)) {
            if (r.title() == title)
                return r;
        }
        ADD_FAILURE() << "no row \"" << title.toStdString() << "\" in " << path.toStdString();
        return KeloRoles();
    }
    QString pathOf(const QString& path, const QString& title) const { return row(path, title).path().toEncoded(); }

    // A set-data request: the whole answer ({"value"} or {"error"}). *status: its HTTP status.
    QVariantHash set(const QString& path, const QVariant& value = {}, int* status = nullptr) const
    {
        QVariantHash body{{"path", path}};
        if (value.isValid())
            body.insert("value", value);
        const pltest::HttpAnswer answer =
            client->post("/api/setData", QJsonDocument::fromVariant(body).toJson(QJsonDocument::Compact));
        if (status)
            *status = answer.status;
        return KeloJson::normalize(answer.body.toVariantHash()).toHash();
    }

    // A set-data request that must succeed: its value.
    QVariantHash act(const QString& path, const QVariant& value = {}) const
    {
        int status = 0;
        const QVariantHash answer = set(path, value, &status);
        EXPECT_EQ(status, 200) << path.toStdString();
        EXPECT_FALSE(answer.contains("error")) << path.toStdString() << ": "
                                               << answer.value("error").toHash().value("message").toString().toStdString();
        return answer.value("value").toHash();
    }

    // The store's view, sorted where the tree's order is not the store's.
    QStringList playlistNames() const { return sorted(store().rows("SELECT name FROM playlists WHERE uid > 0")); }
    QStringList collectionNames() const { return sorted(store().rows("SELECT name FROM collections")); }
    QStringList members(int clid) const
    {
        return sorted(store().rows(QStringLiteral("SELECT name FROM playlists JOIN collections_playlists ON uid = playlist "
                                                  "WHERE collection = %1")
                                       .arg(clid)));
    }
    // "shuffle|repeatAll" of a playlist, as 0 and 1.
    QString flags(int plid) const
    {
        return store().rows(QStringLiteral("SELECT shuffle, repeatAll FROM playlists WHERE uid = %1").arg(plid)).value(0);
    }

    static QStringList sorted(QStringList list)
    {
        list.sort();
        return list;
    }

private:
    // A JSON request; the answer's object (empty, and a failure, unless HTTP 200).
    QVariantHash post(const char* endpoint, const QVariantHash& body, int* status) const
    {
        const pltest::HttpAnswer answer = client->post(endpoint, QJsonDocument::fromVariant(body).toJson(QJsonDocument::Compact));
        if (status)
            *status = answer.status;
        EXPECT_EQ(answer.status, 200) << endpoint << " " << body.value("path").toString().toStdString();
        return answer.status == 200 ? KeloJson::normalize(answer.body.toVariantHash()).toHash() : QVariantHash();
    }
};

}  // namespace browsetest
