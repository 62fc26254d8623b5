#include "KeloPlayList.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include "KeloHash_p.h"
#include "KeloJsonReader_p.h"
#include "KeloJson_p.h"

namespace {
const QString kItems = QStringLiteral("items");
const QString kPlid = QStringLiteral("plid");

int intOf(const QVariant& value, int fallback)
{
    int number = 0;
    return KeloHashPrivate::toWholeInt(value, &number) ? number : fallback;
}

QString textOf(const QVariant& value)
{
    return value.userType() == QMetaType::QString ? *static_cast<const QString*>(value.constData()) : QString();
}

using Text = KeloPlayListItem::Text;

// The JSON keys of the text fields, in the order of KeloPlayListItem::Text.
const QString& textKey(Text field)
{
    static const QString keys[] = {QStringLiteral("title"),     QStringLiteral("artist"),    QStringLiteral("album"),
                                   QStringLiteral("artworkUrl"), QStringLiteral("genre"),     QStringLiteral("url"),
                                   QStringLiteral("serviceId"),  QStringLiteral("keloRoles")};
    return keys[static_cast<int>(field)];
}

constexpr Text allTexts[] = {Text::Title, Text::Artist,    Text::Album,    Text::ArtworkUrl,
                             Text::Genre, Text::Url, Text::ServiceId, Text::KeloRoles};

using KeloJsonPrivate::Reader;

// The numbers of an item, in the order of their keys in itemKeys.
enum class Number { SequenceNumber, Uid, DurationSeconds };

bool readNumber(Reader& reader, int depth, Number number, KeloPlayListItem* item)
{
    QVariant v;
    if (!reader.value(&v, depth))
        return false;
    if (number == Number::SequenceNumber)
        item->setSequenceNumber(intOf(v, -1));
    else if (number == Number::Uid)
        item->setUid(intOf(v, -1));
    else
        item->setDurationSeconds(intOf(v, 0));
    return true;
}

// The JSON keys of an item: the texts in the order of KeloPlayListItem::Text, then the numbers.
constexpr const char* itemKeys[] = {"title",     "artist",    "album",     "artworkUrl",     "genre",          "url",
                                    "serviceId", "keloRoles", "sequenceNumber", "uid", "durationSeconds"};
constexpr int textCount = static_cast<int>(std::size(allTexts));

// One item object, read as the constructor from a hash reads it: a text field holding anything but
// a text is set and empty, a number field anything but a whole number is set to its fallback.
bool readItem(Reader& reader, int depth, KeloPlayListItem* item)
{
    return reader.namedMembers(depth - 1, itemKeys, [&](int field) {
        if (field >= textCount)
            return readNumber(reader, depth, static_cast<Number>(field - textCount), item);
        QByteArray utf8;
        if (!(reader.opens('"') ? reader.utf8Text(&utf8) : reader.value(nullptr, depth)))
            return false;
        item->setUtf8(allTexts[field], utf8);
        return true;
    });
}

bool isJsonSpace(char c)
{
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

// Steps *p back over one text without escapes ("..." ending at *p); false when there is none.
bool textBefore(const char* begin, const char** p)
{
    const char* q = *p;
    if (q == begin || *--q != '"')
        return false;
    while (q > begin && q[-1] != '"') {
        if (*--q == '\\')
            return false;
    }
    if (q == begin)
        return false;
    *p = q - 1;
    return true;
}

// Steps *p back over one text without escapes, number, true, false or null.
bool scalarBefore(const char* begin, const char** p)
{
    if (*p > begin && (*p)[-1] == '"')
        return textBefore(begin, p);
    const char* q = *p;
    while (q > begin && (std::isalnum(static_cast<unsigned char>(q[-1])) || q[-1] == '-' || q[-1] == '+' || q[-1] == '.'))
        --q;
    const bool stepped = q < *p;
    *p = q;
    return stepped;
}

// The members of an object text that follow its last array, when all of them are plain (texts
// without escapes, numbers, words), read from the text's end: {"items":[...],"mode":"append","plid":5}
// gives mode and plid. The scan only finds where they begin; the reader reads them. False when the
// text does not end that way.
bool plainMembersAfterLastArray(const QByteArray& utf8, QVariantHash* members)
{
    const char* begin = utf8.constData();
    const char* p = begin + utf8.size();
    const auto skipSpace = [&] {
        while (p > begin && isJsonSpace(p[-1]))
            --p;
    };
    const auto byteBefore = [&](char c) {
        skipSpace();
        if (p == begin || p[-1] != c)
            return false;
        --p;
        return true;
    };
    if (!byteBefore('}'))
        return false;
    const char* const close = p;
    const char* comma = nullptr;
    for (;;) {
        skipSpace();
        if (!scalarBefore(begin, &p) || !byteBefore(':'))
            return false;
        skipSpace();
        if (!textBefore(begin, &p) || !byteBefore(','))
            return false;
        comma = p;
        skipSpace();
        if (p > begin && p[-1] == ']')
            break;
    }
    QVariant tail;
    if (!KeloJsonPrivate::readCommon('{' + QByteArray(comma + 1, int(close - comma)), &tail) ||
        tail.userType() != QMetaType::QVariantHash)
        return false;
    *members = tail.toHash();
    return true;
}

}  // namespace

KeloPlayListItem::KeloPlayListItem(const KeloHash& h)
{
    // One pass over the keys that are there: a hash from a client rarely holds all eleven.
    const QVariantHash& hash = h.hash();
    for (auto it = hash.cbegin(); it != hash.cend(); ++it) {
        const QString& key = it.key();
        const QVariant& v = it.value();
        if (key == QLatin1String("durationSeconds")) {
            setDurationSeconds(intOf(v, 0));
        } else if (key == QLatin1String("uid")) {
            setUid(intOf(v, -1));
        } else if (key == QLatin1String("sequenceNumber")) {
            setSequenceNumber(intOf(v, -1));
        } else {
            const auto* field = std::find_if(std::begin(allTexts), std::end(allTexts),
                                             [&](Text t) { return textKey(t) == key; });
            if (field != std::end(allTexts))
                setText(*field, textOf(v));
        }
    }
}

void KeloPlayListItem::setUtf8(Text field, const QByteArray& v)
{
    m_texts[index(field)] = v;
    m_set |= bit(field);
}

QVariantHash KeloPlayListItem::hash() const
{
    QVariantHash hash;
    hash.reserve(11);
    if (has(SequenceNumber))
        hash.insert(QStringLiteral("sequenceNumber"), m_sequenceNumber);
    if (has(Uid))
        hash.insert(QStringLiteral("uid"), m_uid);
    if (has(DurationSeconds))
        hash.insert(QStringLiteral("durationSeconds"), m_durationSeconds);
    for (Text field : allTexts) {
        if (has(bit(field)))
            hash.insert(textKey(field), text(field));
    }
    return hash;
}

bool KeloPlayListItem::operator==(const KeloPlayListItem& other) const
{
    return m_set == other.m_set && m_sequenceNumber == other.m_sequenceNumber && m_uid == other.m_uid &&
           m_durationSeconds == other.m_durationSeconds &&
           std::equal(std::begin(m_texts), std::end(m_texts), std::begin(other.m_texts));
}

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
    return m_itemsRead ? m_items : KeloHashPrivate::recordsOf<KeloPlayListItem>(listOf(kItems));
}

void KeloPlayListPlAddExternalItems::setItems(const QList<KeloPlayListItem>& items)
{
    m_items.clear();
    m_itemsRead = false;
    set(kItems, KeloHashPrivate::variantsOf(items));
}

bool KeloPlayListPlAddExternalItems::readJson(const QByteArray& utf8)
{
    QList<KeloPlayListItem> items;
    bool itemsRead = false;
    const auto take = [&](KeloPlayListItem&& item) {
        items.append(std::move(item));
        return true;
    };
    // Kept whole, the items are read where they stand: nothing waits for the playlist.
    if (!readMembers(utf8, false, [&](const KeloPlayListPlAddExternalItems&) { itemsRead = true; }, take))
        return false;
    m_items = items;
    m_itemsRead = itemsRead;
    return true;
}

bool KeloPlayListPlAddExternalItems::readJson(const QByteArray& utf8, const Head& head, const Take& take)
{
    return readMembers(utf8, true, head, take);
}

bool KeloPlayListPlAddExternalItems::readMembers(const QByteArray& utf8, bool playlistFirst, const Head& head,
                                                 const Take& take)
{
    // Elements that are not objects are left out, as items() leaves them out of a hash.
    const auto readItems = [&](Reader& reader) {
        return reader.array(2, [&]() {
            if (!reader.opens('{'))
                return reader.value(nullptr, 2);
            KeloPlayListItem item;
            return readItem(reader, 3, &item) && take(std::move(item));
        });
    };
    Reader reader(utf8);
    reader.skipSpace();
    QVariantHash members;
    bool itemsRead = false;
    const char* laterItems = nullptr;
    const bool read = reader.object(1, [&](const Reader::Text& text) {
        const QString key = Reader::keyString(text);
        if (members.contains(key) || (itemsRead && key == kItems))
            return false;
        if (key == kItems && reader.opens('[')) {
            itemsRead = true;
            if (!playlistFirst || members.contains(kPlid)) {
                head(KeloPlayListPlAddExternalItems(KeloHash(members)));
                return readItems(reader);
            }
            // Writers that sort their keys put the items before the playlist. Plain members after
            // them are read from the text's end, and the items where they stand; the caller holds
            // that head against the record read to the end.
            QVariantHash after;
            if (plainMembersAfterLastArray(utf8, &after) && after.contains(kPlid)) {
                QVariantHash known = members;
                for (auto it = after.cbegin(); it != after.cend(); ++it)
                    known.insert(it.key(), it.value());
                head(KeloPlayListPlAddExternalItems(KeloHash(known)));
                return readItems(reader);
            }
            // Otherwise they are only checked now, and read once the members after them are known.
            laterItems = reader.position();
            return reader.value(nullptr, 1);
        }
        QVariant v;
        if (!reader.value(&v, 1))
            return false;
        members.insert(key, v);
        return true;
    });
    if (!read || !reader.atEnd())
        return false;
    if (laterItems) {
        head(KeloPlayListPlAddExternalItems(KeloHash(members)));
        Reader items(laterItems, utf8.constData() + utf8.size());
        if (!readItems(items))
            return false;
    }
    *static_cast<KeloHash*>(this) = KeloHash(members);
    m_items.clear();
    m_itemsRead = false;
    return true;
}
