// SPDX-License-Identifier: Apache-2.0
// For cppcheck only, which does not read the system's headers: macros that begin a function or
// stand alone.
#pragma once

#define SND_CTL_PLUGIN_DEFINE_FUNC(plugin) int plugin()
#define SND_CTL_PLUGIN_SYMBOL(plugin)
