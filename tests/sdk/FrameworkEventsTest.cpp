// The event hub and the row-change events that workers publish through it.
#include <thread>

#include "CMEventHub.h"
#include "CMSubscribe.h"
#include "FrameworkTestSupport.h"

namespace {
QVariantHash numbered(int n)
{
    return {{QStringLiteral("n"), n}};
}

QList<int> drain(CMEventSubscriber& subscriber)
{
    QList<int> numbers;
    QVariantHash event;
    while (subscriber.next(&event, 0))
        numbers << event.value(QStringLiteral("n")).toInt();
    return numbers;
}
}  // namespace

TEST(FrameworkEventHub, EverySubscriberGetsEveryEventInOrder)
{
    CMEventHub& hub = CMEventHub::instance();
    const auto first = hub.subscribe();
    const auto second = hub.subscribe();
    for (int n = 1; n <= 3; ++n)
        hub.publish(numbered(n));

    EXPECT_EQ(drain(*first), QList<int>({1, 2, 3}));
    EXPECT_EQ(drain(*second), QList<int>({1, 2, 3}));
}

TEST(FrameworkEventHub, AFullQueueDropsOnlyItsOwnOldestEventsAndCountsThem)
{
    CMEventHub& hub = CMEventHub::instance();
    const auto slow = hub.subscribe(2);
    const auto roomy = hub.subscribe(10);
    for (int n = 1; n <= 5; ++n)
        hub.publish(numbered(n));

    EXPECT_EQ(drain(*slow), QList<int>({4, 5}));
    EXPECT_EQ(slow->takeDroppedCount(), 3);
    EXPECT_EQ(slow->takeDroppedCount(), 0) << "the count restarts once taken";
    EXPECT_EQ(drain(*roomy), QList<int>({1, 2, 3, 4, 5}));
    EXPECT_EQ(roomy->takeDroppedCount(), 0);
}

TEST(FrameworkEventHub, ASubscriberLeavesWithItsLastPointer)
{
    CMEventHub& hub = CMEventHub::instance();
    const int before = hub.subscriberCount();
    auto subscriber = hub.subscribe();
    EXPECT_EQ(hub.subscriberCount(), before + 1);
    subscriber.reset();
    EXPECT_EQ(hub.subscriberCount(), before);
}

TEST(FrameworkEventHub, ClosingWakesAWaitingReaderForGood)
{
    const auto subscriber = CMEventHub::instance().subscribe();
    bool received = true;
    std::thread reader([&]() { received = subscriber->next(nullptr, -1); });
    CMEventHub::instance().closeAll();
    reader.join();

    EXPECT_FALSE(received);
    CMEventHub::instance().publish(numbered(1));
    EXPECT_FALSE(subscriber->next(nullptr, 0));
}

TEST(FrameworkEventHub, AReaderWaitingInAnotherThreadGetsAPublishedEvent)
{
    const auto subscriber = CMEventHub::instance().subscribe();
    QVariantHash event;
    bool received = false;
    std::thread reader([&]() { received = subscriber->next(&event, 10000); });
    CMEventHub::instance().publish(numbered(9));
    reader.join();

    ASSERT_TRUE(received);
    EXPECT_EQ(event.value(QStringLiteral("n")).toInt(), 9);
}

TEST(FrameworkSubscribe, RowChangesArePublishedInTheirContractForm)
{
    const auto subscriber = CMEventHub::instance().subscribe();
    CMSubscribe subscribe;
    subscribe.rowsChanged(CMPath("playlists:pl/getitems/5"), QStringList{QStringLiteral("+4"), QStringLiteral("-2")}, 0, -1);
    subscribe.changedStartingWith(CMPath("playlists:"), CMSubscribe::RowsChangeReset(), -1, -1);

    QVariantHash rows;
    ASSERT_TRUE(subscriber->next(&rows, 0));
    EXPECT_EQ(rows, QVariantHash({{QStringLiteral("path"), QStringLiteral("playlists:pl/getitems/5")},
                                  {QStringLiteral("change"), QStringLiteral("rows")},
                                  {QStringLiteral("rows"), QVariantList{QStringLiteral("+4"), QStringLiteral("-2")}},
                                  {QStringLiteral("from"), 0},
                                  {QStringLiteral("to"), -1}}));
    QVariantHash reset;
    ASSERT_TRUE(subscriber->next(&reset, 0));
    EXPECT_EQ(reset.value(QStringLiteral("change")).toString(), QStringLiteral("reset"));
    EXPECT_FALSE(reset.contains(QStringLiteral("rows")));
}
