#include "vakenv/plugins/plugin.h"

VakPlugIn::VakPlugIn(VakEnvI* env) : VakRttiEnvObjectI(env), next(nullptr) {}

VakPlugIn::~VakPlugIn() noexcept(false) = default;

VakNotifiedPlugIn::VakNotifiedPlugIn(VakEnvI* env) : VakPlugIn(env) {}

VakNotifiedPlugIn::~VakNotifiedPlugIn() noexcept(false) = default;

VakPlugInAddon::VakPlugInAddon(VakEnvI* env) : VakRttiEnvObjectI(env), next(nullptr) {}

VakPlugInAddon::~VakPlugInAddon() noexcept(false) = default;
