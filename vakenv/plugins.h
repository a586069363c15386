#pragma once

// What an application includes for plug-ins.

#include "vakenv/plugins/plugin.h"
#include "vakenv/plugins/plugin_manager.h"
