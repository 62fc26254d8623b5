#include "DatabaseModel.h"

TEST_F(DatabaseTest, RandomEditsKeepTheOrderOfAPlainListModelAndDenseNumbers)
{
    ListModel model;
    model.lists[0] = QStringList();
    for (const char* name : {"one", "two", "three"})
        model.lists[db->createPlayList(QLatin1String(name)).uid] = QStringList();

    std::mt19937 rng(20240611);
    int counter = 0;
    SqlProbe probe;
    for (int step = 0; step < 3000; ++step) {
        const EditOp op = model.randomEdit(rng, QStringLiteral("t"), counter, {6, 5, 40});
        ASSERT_TRUE(model.applyTo(*db, op)) << "step " << step << ": " << op.describe().toStdString();
        model.apply(op);

        PlayListRecord pl;
        pl.uid = op.playlist;
        pl.size = model.lists[op.playlist].size();
        const QList<KeloPlayListItem> items = db->getItems(pl, 0, pl.size);
        ASSERT_EQ(titlesOf(items), model.lists[op.playlist]) << "step " << step << ": " << op.describe().toStdString();
        for (int i = 0; i < items.size(); ++i)
            ASSERT_EQ(items[i].sequenceNumber(), i) << "step " << step;
    }
    for (auto it = model.lists.cbegin(); it != model.lists.cend(); ++it)
        EXPECT_EQ(probe.titles(it.key()), it.value());
    EXPECT_TRUE(probe.gaps().isEmpty());
    EXPECT_EQ(probe.intValue(QStringLiteral("SELECT COUNT(*) FROM items")),
              probe.intValue(QStringLiteral("SELECT COUNT(*) FROM playlists_items")));
}
