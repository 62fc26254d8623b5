#pragma once
// The settings the device offers, with the values they hold until someone sets them: the playlists
// module's store and browse-tree settings and the power manager's target. The root takes them at
// start-up; each default also fixes the type its setting keeps.
#include "CMRoot.h"

CMRootWorker::Settings defaultSettings();
