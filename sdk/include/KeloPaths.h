#pragma once
// The SDK's path constants. Modules use these functions and never spell the texts.
#include "CMPath.h"

#define KELO_PATH(name, text) \
    inline CMPath name() { return CMPath(QStringLiteral(text)); }

KELO_PATH(KeloPlayListsRootPath, "playlists:")
KELO_PATH(KeloPlayListPlGetlistPath, "playlists:pl/getlist")
KELO_PATH(KeloPlayListPlGetItemsPath, "playlists:pl/getitems")
KELO_PATH(KeloPlayListPqGetItemsPath, "playlists:pq/getitems")
KELO_PATH(KeloPlayListPqContextPath, "playlists:pq/contextmenu")
KELO_PATH(KeloPlayListPlContextPath, "playlists:pl/contextmenu")
KELO_PATH(KeloPlayListPlTrackContextPath, "playlists:pl/trackcontextmenu")
KELO_PATH(KeloPlayListPlAddToPlaylistPath, "playlists:pl/addtoplaylist")
KELO_PATH(KeloPlayListPlSelectAddModePath, "playlists:pl/selectaddmode")
KELO_PATH(KeloPlayListClGetItemsPath, "playlists:cl/getitems")
KELO_PATH(KeloPlayListClAddtoCollectionPath, "playlists:cl/addtocollection")
KELO_PATH(KeloPlayListClContextPath, "playlists:cl/contextmenu")
KELO_PATH(KeloPlayListItemPath, "playlists:item/")
KELO_PATH(KeloPlayListsPlayLogicPath, "playlists:playlogic")
KELO_PATH(KeloPlayListPlPrepareItemsPath, "playlists:prepareItems")

KELO_PATH(KeloPlayListPlCreatePath, "playlists:pl/create")
KELO_PATH(KeloPlayListPlPlayPath, "playlists:pl/play")
KELO_PATH(KeloPlayListPlClearPath, "playlists:pl/clear")
KELO_PATH(KeloPlayListPlSetNamePath, "playlists:pl/setname")
KELO_PATH(KeloPlayListPlSetShufflePath, "playlists:pl/setshuffle")
KELO_PATH(KeloPlayListPlSetRepeatPath, "playlists:pl/setrepeat")
KELO_PATH(KeloPlayListPlDeletePath, "playlists:pl/delete")
KELO_PATH(KeloPlayListPlRemoveItemsPath, "playlists:pl/removeitems")
KELO_PATH(KeloPlayListPlAddItemsPath, "playlists:pl/additems")
KELO_PATH(KeloPlayListPlAddExternalItemsPath, "playlists:pl/addexternalitems")
KELO_PATH(KeloPlayListPlMoveItemspath, "playlists:pl/moveitems")
KELO_PATH(KeloPlayListClCreatePath, "playlists:cl/create")
KELO_PATH(KeloPlayListClAddItemPath, "playlists:cl/additem")
KELO_PATH(KeloPlayListClRemoveItemPath, "playlists:cl/removeitem")
KELO_PATH(KeloPlayListClDeletePath, "playlists:cl/delete")
KELO_PATH(KeloPlayListClSetNamePath, "playlists:cl/setname")

KELO_PATH(KeloPlayListsSettingsDataBaseItemsLimitPath, "settings:playlists/dbItemsLimit")
KELO_PATH(KeloPlayListSettingsDataBaseVacuumPath, "settings:playlists/dbVacuum")
KELO_PATH(KeloPlayListSettingsDataBaseRecoveredPath, "settings:playlists/dbRecovered")
KELO_PATH(KeloPlayListSettingsPlayqueueVisibilityPath, "settings:playlists/playqueueVisibility")
KELO_PATH(KeloPlayListSettingsCollectionsVisibilityPath, "settings:playlists/collectionsVisibility")
KELO_PATH(KeloPowerManagerTargetPath, "powermanager:target")
KELO_PATH(KeloPlayerControlPath, "player:control")
KELO_PATH(KeloPlayerStatePath, "player:state")

#undef KELO_PATH

// The invoke name of a prepare request: a group's invoke for prefix "media" goes to "media:prepareItems".
inline QString KeloPlayListPrepareItems() { return QStringLiteral("prepareItems"); }
