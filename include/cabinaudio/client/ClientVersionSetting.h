// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>
#include <cabinaudio/foundation/AudioStatus.h>

class RemoteCall;

/// Application interface of the version query.
class CABINAUDIO_API AudioVersionSetting {
public:
    virtual ~AudioVersionSetting() = default;
    /// See ClientVersionSetting::initCheck().
    virtual int initCheck() = 0;
    /// See ClientVersionSetting::getServerVersions().
    virtual int getServerVersions(int* first, int* second, int* third) = 0;
};

/// Asks the server for its version. Not thread-safe: one thread at a time.
class CABINAUDIO_API ClientVersionSetting : public AudioVersionSetting {
public:
    /// Connects to the server; blocks until it has answered. Does not report a failure: see
    /// initCheck().
    ClientVersionSetting() noexcept;
    /// Disconnects. Ends a request in which another thread is blocked, waits until that thread has
    /// left it, and joins the object's two threads.
    ~ClientVersionSetting() override;
    ClientVersionSetting(const ClientVersionSetting&) = delete;
    ClientVersionSetting& operator=(const ClientVersionSetting&) = delete;

    /// @retval AUDIO_NO_ERROR       registered with the server
    /// @retval AUDIO_NOT_CONNECTED  not registered, or no server
    int initCheck() override;

    /// Blocks for the server's reply, without a time limit.
    /// @param first   three numbers, in the layout of getClientVersions()
    /// @param second  three numbers
    /// @param third   one number
    /// No argument may be null. All are filled whenever the server answered, whatever its status.
    /// @return the server's status; 1 when the request did not go through; AUDIO_NO_MEMORY when
    ///         another request of this object is in progress
    int getServerVersions(int* first, int* second, int* third) override;

    /// The library's own version; needs no server.
    /// @param first   three numbers: 2, 24, 25
    /// @param second  three numbers: 0, 0, 0
    void getClientVersions(int* first, int* second);

private:
    RemoteCall* mRc;
};
