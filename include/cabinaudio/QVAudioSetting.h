// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// The settings as applications see them: audio::QVAudioSetting::Volume, Source, App and Mixer.
///
/// Every operation is one request to the server unless it says otherwise, and blocks for the reply
/// without a time limit. It returns
///
///     AUDIO_NO_ERROR   done
///     AUDIO_BAD_VALUE  an argument was refused; nothing was sent, and the log says why
///     AUDIO_NO_MEMORY  another request of the same object is under way
///     1                the request did not go through: no server, or it went away
///     anything else    the server's status
///
/// Results are stored whenever the server has answered, whatever its status; what it left out reads
/// as zero. An object has no lock: one thread at a time. Destroying an object in which another call
/// than a blocked request is still under way is the application's fault.
#include <cabinaudio/setting/App.h>
#include <cabinaudio/setting/Mixer.h>
#include <cabinaudio/setting/Source.h>
#include <cabinaudio/setting/Volume.h>
