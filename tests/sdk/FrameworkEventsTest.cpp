// The event hub and the row-change events workers publish through it; the connection routine and the
// thread check.
#include <thread>

#include "CMEventHub.h"
#include "CMGlobal.h"
#include "CMNodes.h"
#include "CMSubscribe.h"
#include "FrameworkTestSupport.h"

namespace {
QList<int> drain(CMEventSubscriber& subscriber)
{
    QList<int> numbers;
    QVariantHash event;
    while (subscriber.next(&event, 0) == CMEventSubscriber::Event)
        numbers << event.value(QStringLiteral("n")).toInt();
    return numbers;
}
}  // namespace

TEST(FrameworkEventHub, AFullQueueDropsOnlyItsOwnOldestEventsAndASubscriberLeavesWithItsLastPointer)
{
    CMEventHub& hub = CMEventHub::instance();
    const int before = hub.subscriberCount();
    auto slow = hub.subscribe(2);
    const auto roomy = hub.subscribe(10);
    EXPECT_EQ(hub.subscriberCount(), before + 2);
    EXPECT_TRUE(hub.hasSubscribers());
    for (int n = 1; n <= 5; ++n)
        hub.publish({{QStringLiteral("n"), n}});

    EXPECT_EQ(drain(*slow), QList<int>({4, 5}));
    EXPECT_EQ(slow->takeDroppedCount(), 3);
    EXPECT_EQ(slow->takeDroppedCount(), 0) << "the count restarts once taken";
    EXPECT_EQ(drain(*roomy), QList<int>({1, 2, 3, 4, 5}));
    EXPECT_EQ(roomy->takeDroppedCount(), 0);
    slow.reset();
    EXPECT_EQ(hub.subscriberCount(), before + 1);
}

TEST(FrameworkEventHub, AQuietSubscriberTimesOutAndAClosedOneIsWokenForGood)
{
    const auto subscriber = CMEventHub::instance().subscribe();
    EXPECT_EQ(subscriber->next(nullptr, 0), CMEventSubscriber::TimedOut);
    CMEventSubscriber::Next woken = CMEventSubscriber::Event;
    std::thread reader([&]() { woken = subscriber->next(nullptr, -1); });
    CMEventHub::instance().closeAll();
    reader.join();

    EXPECT_EQ(woken, CMEventSubscriber::Closed);
    CMEventHub::instance().publish({{QStringLiteral("n"), 1}});
    EXPECT_EQ(subscriber->next(nullptr, 1000), CMEventSubscriber::Closed);
}

TEST(FrameworkSubscribe, RowChangesArePublishedInTheirContractForm)
{
    CMSubscribe subscribe;
    const auto subscriber = CMEventHub::instance().subscribe();
    subscribe.rowsChanged(CMPath("playlists:pl/getitems/5"), QStringList{QStringLiteral("+4"), QStringLiteral("-2")}, 0, -1);
    subscribe.rowsInserted(CMPath("playlists:pl/getitems/5"), 9, 3, 0, -1);
    subscribe.changedStartingWith(CMPath("playlists:"), CMSubscribe::RowsChangeReset(), -1, -1);

    QVariantHash rows;
    ASSERT_EQ(subscriber->next(&rows, 0), CMEventSubscriber::Event);
    EXPECT_EQ(rows, QVariantHash({{QStringLiteral("path"), QStringLiteral("playlists:pl/getitems/5")},
                                  {QStringLiteral("change"), QStringLiteral("rows")},
                                  {QStringLiteral("rows"), QVariantList{QStringLiteral("+4"), QStringLiteral("-2")}},
                                  {QStringLiteral("from"), 0},
                                  {QStringLiteral("to"), -1}}));
    QVariantHash inserted;
    ASSERT_EQ(subscriber->next(&inserted, 0), CMEventSubscriber::Event);
    rows.insert(QStringLiteral("rows"), QVariantList{QStringLiteral("+9"), QStringLiteral("+10"), QStringLiteral("+11")});
    EXPECT_EQ(inserted, rows);
    QVariantHash reset;
    ASSERT_EQ(subscriber->next(&reset, 0), CMEventSubscriber::Event);
    EXPECT_EQ(reset.value(QStringLiteral("change")).toString(), QStringLiteral("reset"));
    EXPECT_FALSE(reset.contains(QStringLiteral("rows")));
}

namespace {
struct Unqueueable
{
    int n = 0;
};

class Sender : public QObject
{
    Q_OBJECT
signals:
    void sentUnqueueable(Unqueueable value);
    void sentPointer(Unqueueable* value);
};
}  // namespace

TEST(FrameworkGlobalDeathTest, ConnectingAcrossThreadsTakesSdkTypesAndPointersAndEndsTheProcessForOthers)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    CMRootWorker root;
    Sender sender;
    QThread other;
    QObject receiver;
    receiver.moveToThread(&other);
    EXPECT_TRUE(CMGlobal::connect(&root, &CMRootWorker::valueChanged, &receiver, [](const CMPath&) {}));
    EXPECT_TRUE(CMGlobal::connect(&sender, &Sender::sentPointer, &receiver, [](Unqueueable*) {}));
    EXPECT_DEATH(CMGlobal::connect(&sender, &Sender::sentUnqueueable, &receiver, &QObject::deleteLater),
                 "verifyConnectionSignalParameters");
}

TEST(FrameworkGlobalDeathTest, AnEntryForOneThreadEndsTheProcessWhenCalledFromAnother)
{
#ifndef KELO_THREAD_CHECKS
    GTEST_SKIP() << "built with KELO_THREAD_CHECKS off";
#endif
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    CMNodes nodes;
    EXPECT_EQ(nodes.find(CMPath("probe:x")), nullptr) << "its own thread may use it";
    EXPECT_DEATH(std::thread([&]() { nodes.find(CMPath("probe:x")); }).join(), "called outside the thread of this");
}

#include "FrameworkEventsTest.moc"
