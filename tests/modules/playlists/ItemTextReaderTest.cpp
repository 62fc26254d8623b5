// Reading an add's items on a thread of their own while the caller takes them batch by batch.
#include "ControllerTestSupport.h"
#include "ItemTextReader.h"

using namespace pltest;

namespace {
using Outcome = ItemTextReader::Outcome;

// Every batch the reader hands over, in order, until it has none left.
QList<QList<KeloPlayListItem>> drain(ItemTextReader& reader)
{
    QList<QList<KeloPlayListItem>> batches;
    QList<KeloPlayListItem> batch;
    while (reader.next(&batch))
        batches.append(batch);
    return batches;
}

QList<KeloPlayListItem> withoutRoles(QList<KeloPlayListItem> items)
{
    for (KeloPlayListItem& item : items)
        item.setKeloRoles(QString());
    return items;
}
}  // namespace

TEST(ItemTextReaderThreads, HandsTheKeptItemsInOrderInBoundedBatchesAfterTheHead)
{
    const QStringList titles = names(ItemTextReader::BatchSize * 3 + 7);
    const QList<KeloPlayListItem> items = withoutRoles(tracks({"bare1"})) + tracks(titles) + withoutRoles(tracks({"bare2"}));
    ItemTextReader reader(addText(42, items, "\"mode\":\"now\","));
    KeloPlayListPlAddExternalItems head;
    ASSERT_TRUE(reader.waitForHead(&head));
    EXPECT_EQ(head.plid(), 42);
    EXPECT_EQ(head.mode(), int(KeloPlayListAddPosition::Now));
    QList<KeloPlayListItem> read;
    for (const QList<KeloPlayListItem>& batch : drain(reader)) {
        EXPECT_LE(batch.size(), ItemTextReader::BatchSize);
        read += batch;
    }
    EXPECT_EQ(read, tracks(titles));
    EXPECT_TRUE(reader.complete());
    EXPECT_EQ(reader.outcome(), Outcome::Complete);
    EXPECT_EQ(reader.offered(), items.size());
    EXPECT_EQ(reader.kept(), titles.size());
    EXPECT_EQ(reader.size(), titles.size());
}

TEST(ItemTextReaderThreads, ItemsBeforeThePlaylistAreReadOnceTheMembersAfterThemAreKnown)
{
    // As a writer that sorts its keys sends it: items, mode, plid.
    const QStringList titles = names(700);
    const QJsonObject value{{"plid", 9}, {"mode", "afterCurrent"}, {"items", QJsonArray::fromVariantList(itemList(tracks(titles)))}};
    ItemTextReader reader(QJsonDocument(value).toJson(QJsonDocument::Compact));
    KeloPlayListPlAddExternalItems head;
    ASSERT_TRUE(reader.waitForHead(&head));
    EXPECT_EQ(head.plid(), 9);
    EXPECT_EQ(head.mode(), int(KeloPlayListAddPosition::AfterCurrent));
    QList<KeloPlayListItem> read;
    for (const QList<KeloPlayListItem>& batch : drain(reader))
        read += batch;
    EXPECT_EQ(titlesOf(read), titles);
    EXPECT_EQ(reader.outcome(), Outcome::Complete);
}

TEST(ItemTextReaderThreads, SaysWhyAReadingIsNotComplete)
{
    QList<KeloPlayListItem> refused = tracks(names(600));
    refused[500].setKeloRoles(QStringLiteral(R"({"type":3})"));
    QByteArray escaped = addText(1, tracks(names(600)));
    // Items first, then an array the look back from the text's end stops at.
    const QByteArray misled = "{\"items\":" + QJsonDocument(QJsonArray::fromVariantList(itemList(tracks(names(600)))))
                                  .toJson(QJsonDocument::Compact) + ",\"tags\":[1],\"plid\":1}";
    escaped.replace("\"t599\"", "\"t\\u0035\"");
    const struct
    {
        QByteArray text;
        Outcome outcome;
    } cases[] = {
        {addText(1, refused), Outcome::Refused},
        {addText(1, tracks(names(600)), "", ",\"mode\":\"now\""), Outcome::Declined},  // the head changed
        {escaped, Outcome::Declined},
        {misled, Outcome::Declined},
        {addText(1, tracks(names(600))) + "x", Outcome::Declined},
    };
    for (const auto& c : cases) {
        ItemTextReader reader(c.text);
        KeloPlayListPlAddExternalItems head;
        EXPECT_TRUE(reader.waitForHead(&head));
        drain(reader);
        EXPECT_EQ(reader.outcome(), c.outcome) << c.text.right(40).toStdString();
        EXPECT_FALSE(reader.complete());
    }
    ItemTextReader noItems(R"({"plid": 1, "items": "none"})");
    KeloPlayListPlAddExternalItems head;
    EXPECT_FALSE(noItems.waitForHead(&head));
    EXPECT_EQ(noItems.outcome(), Outcome::Declined);
    EXPECT_FALSE(noItems.complete());
}

TEST(ItemTextReaderThreads, ACallerThatStopsTakingEndsTheReadingWithoutWaitingForIt)
{
    const QByteArray text = addText(1, tracks(names(ItemTextReader::BatchSize * int(ItemTextReader::BatchesAhead) * 4)));
    {
        ItemTextReader reader(text);
        QList<KeloPlayListItem> batch;
        ASSERT_TRUE(reader.next(&batch));
        reader.finish();
        EXPECT_EQ(reader.outcome(), Outcome::Stopped);
        EXPECT_FALSE(reader.next(&batch));
        EXPECT_FALSE(reader.complete());
    }
    ItemTextReader untouched(text);  // destroyed while it still reads
}
