#pragma once
// Conversions shared by the record sources; not part of the SDK's API.
#include <QList>
#include <QVariant>

#include "KeloHash.h"

namespace KeloHashPrivate {
// True when the variant is a number (not a bool, not a text) with a whole value in int range.
bool toWholeInt(const QVariant& value, int* out);
// True when the text is a plain decimal int: an optional '-' and digits, nothing around them.
bool toDecimalInt(const QString& text, int* out);
// True when the variant holds a variant hash, map or JSON object.
bool holdsHash(const QVariant& value);
// The hash held by a variant hash, map or JSON object; empty for anything else.
QVariantHash toHash(const QVariant& value);
// The list held by a variant list, string list or JSON array; empty for anything else.
QVariantList toList(const QVariant& value);

// The elements of a list that are objects, as records; anything else in the list is left out.
template <typename Record>
QList<Record> recordsOf(const QVariantList& list)
{
    QList<Record> records;
    for (const QVariant& v : list) {
        if (holdsHash(v))
            records.append(Record(KeloHash(toHash(v))));
    }
    return records;
}

template <typename Record>
QVariantList variantsOf(const QList<Record>& records)
{
    QVariantList list;
    list.reserve(records.size());
    for (const Record& r : records)
        list.append(r.toVariant());
    return list;
}
}  // namespace KeloHashPrivate
