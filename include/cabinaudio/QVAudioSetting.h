// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// Application interfaces of the settings: audio::QVAudioSetting::Volume, Source, App and Mixer.
///
/// Every operation is one request to the server unless it says otherwise, and blocks for the reply
/// without a time limit. It returns
///
///     AUDIO_NO_ERROR   done
///     AUDIO_BAD_VALUE  an argument was refused; nothing was sent, and the log says why
///     AUDIO_NO_MEMORY  another request of the same object is in progress
///     1                the request did not go through: no server, or it went away
///     anything else    the server's status
///
/// Results are stored whenever the server has answered, whatever its status; missing parts are
/// stored as zero. An object has no lock: use it from one thread at a time. Do not destroy an
/// object while a call to it is in progress; only a blocked request is ended safely.
#include <cabinaudio/setting/App.h>
#include <cabinaudio/setting/Mixer.h>
#include <cabinaudio/setting/Source.h>
#include <cabinaudio/setting/Volume.h>
