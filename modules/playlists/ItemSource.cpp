#include "ItemSource.h"

#include "CMPath.h"
#include "KeloJson.h"
#include "KeloLog.h"
#include "KeloRoles.h"
#include "PlayList.h"
#include "PlayListsLog.h"

namespace {
// Whether a stored role text describes a playable audio track.
bool rolesArePlayable(const QByteArray& rolesText)
{
    // Most roles texts are read for the four facts alone; the others are decoded whole.
    KeloTrackFacts facts;
    if (!KeloRoles::readTrackFacts(rolesText, &facts))
        facts = KeloRoles(KeloHash(KeloJson::parse(rolesText).toHash())).trackFacts();
    return facts.type == KeloRolesType::Audio && !facts.title.isEmpty() &&
           (!facts.firstResourceUri.isEmpty() || !CMPath(facts.prePlayPath).isEmpty());
}
}  // namespace

ItemVerdict verdictOn(const KeloPlayListItem& item)
{
    const QByteArray& roles = item.utf8(KeloPlayListItem::Text::KeloRoles);
    if (roles.isEmpty()) {
        KELO_LOG_WARN(PlayListsLogger, "Invalid file, missing roles: " << item.url());
        return ItemVerdict::LeftOut;
    }
    return rolesArePlayable(roles) ? ItemVerdict::Kept : ItemVerdict::Refused;
}

CheckedItemList::CheckedItemList(const QList<KeloPlayListItem>& items)
    : m_kept(keptOf(items, &m_refused))
{
}

QList<KeloPlayListItem> CheckedItemList::keptOf(const QList<KeloPlayListItem>& items, bool* refused)
{
    QList<KeloPlayListItem> kept;
    kept.reserve(items.size());
    for (const KeloPlayListItem& item : items) {
        const ItemVerdict verdict = verdictOn(item);
        if (verdict == ItemVerdict::Refused) {
            *refused = true;
            return {};
        }
        if (verdict == ItemVerdict::Kept)
            kept.append(item);
    }
    return kept;
}

int CheckedItemList::storeIn(PlayListBase* pl, KeloPlayListAddPosition::Enum position)
{
    return pl->addItems(position, m_kept);
}
