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
    while (subscriber.next(&event, 0) == CMEventSubscriber::Event)
        numbers << event.value(QStringLiteral("n")).toInt();
    return numbers;
}
}  // namespace

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

TEST(FrameworkEventHub, AQuietSubscriberTimesOutAndAClosedOneIsWokenForGood)
{
    const auto subscriber = CMEventHub::instance().subscribe();
    EXPECT_EQ(subscriber->next(nullptr, 0), CMEventSubscriber::TimedOut);
    CMEventSubscriber::Next woken = CMEventSubscriber::Event;
    std::thread reader([&]() { woken = subscriber->next(nullptr, -1); });
    CMEventHub::instance().closeAll();
    reader.join();

    EXPECT_EQ(woken, CMEventSubscriber::Closed);
    CMEventHub::instance().publish(numbered(1));
    EXPECT_EQ(subscriber->next(nullptr, 1000), CMEventSubscriber::Closed);
}

TEST(FrameworkSubscribe, RowChangesArePublishedInTheirContractForm)
{
    const auto subscriber = CMEventHub::instance().subscribe();
    CMSubscribe subscribe;
    subscribe.rowsChanged(CMPath("playlists:pl/getitems/5"), QStringList{QStringLiteral("+4"), QStringLiteral("-2")}, 0, -1);
    subscribe.changedStartingWith(CMPath("playlists:"), CMSubscribe::RowsChangeReset(), -1, -1);

    QVariantHash rows;
    ASSERT_EQ(subscriber->next(&rows, 0), CMEventSubscriber::Event);
    EXPECT_EQ(rows, QVariantHash({{QStringLiteral("path"), QStringLiteral("playlists:pl/getitems/5")},
                                  {QStringLiteral("change"), QStringLiteral("rows")},
                                  {QStringLiteral("rows"), QVariantList{QStringLiteral("+4"), QStringLiteral("-2")}},
                                  {QStringLiteral("from"), 0},
                                  {QStringLiteral("to"), -1}}));
    QVariantHash reset;
    ASSERT_EQ(subscriber->next(&reset, 0), CMEventSubscriber::Event);
    EXPECT_EQ(reset.value(QStringLiteral("change")).toString(), QStringLiteral("reset"));
    EXPECT_FALSE(reset.contains(QStringLiteral("rows")));
}
