// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gst/gst.h>

/// Category of all messages of the plug-in: GST_DEBUG=cabinaudio:5.
GST_DEBUG_CATEGORY_EXTERN(cabinaudio_debug);
#define GST_CAT_DEFAULT cabinaudio_debug
