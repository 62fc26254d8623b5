#include "KeloPlayList.h"

#include "KeloHash_p.h"

namespace {
const QString kItems = QStringLiteral("items");
}  // namespace

QList<int> KeloPlayListArgs::intList(const QString& key) const
{
    QList<int> result;
    for (const QVariant& v : listOf(key)) {
        int number = 0;
        if (KeloHashPrivate::toWholeInt(v, &number))
            result.append(number);
    }
    return result;
}

void KeloPlayListPlRemoveItems::setItems(const QList<int>& v)
{
    QVariantList list;
    list.reserve(v.size());
    for (int i : v)
        list.append(i);
    set(kItems, list);
}

QList<KeloPlayListItem> KeloPlayListPlAddExternalItems::items() const
{
    return KeloHashPrivate::recordsOf<KeloPlayListItem>(listOf(kItems));
}

void KeloPlayListPlAddExternalItems::setItems(const QList<KeloPlayListItem>& items)
{
    set(kItems, KeloHashPrivate::variantsOf(items));
}
