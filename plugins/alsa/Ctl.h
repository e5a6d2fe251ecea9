// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plugins/alsa/Mixer.h"
#include "plugins/alsa/MixerWatch.h"

#include <alsa/asoundlib.h>
#include <alsa/control_external.h>
#include <sys/types.h>

#include <memory>

namespace cabinaudio::alsa {

/// A control device of ALSA on the settings of the server. alsa-lib owns it: close() deletes it. In
/// the child of a fork it is without a server, as Pcm.
class Ctl {
public:
    Ctl();
    ~Ctl() = default;
    Ctl(const Ctl&) = delete;
    Ctl& operator=(const Ctl&) = delete;

    /// @return 0 or a negative error number
    int create(const char* name, int mode);
    [[nodiscard]] snd_ctl_t* handle() const { return mExt.handle; }

private:
    struct Callbacks;
    friend struct Callbacks;

    [[nodiscard]] bool isOurs() const;
    int list(unsigned index, snd_ctl_elem_id_t* id) const;
    snd_ctl_ext_key_t find(const snd_ctl_elem_id_t* id) const;
    int describe(snd_ctl_ext_key_t key, int& type, unsigned& access, unsigned& count) const;
    int copyTlv(snd_ctl_ext_key_t key, unsigned* tlv, unsigned bytes) const;
    int read(snd_ctl_ext_key_t key, long* values);
    int write(snd_ctl_ext_key_t key, const long* values);
    void subscribe(bool isOn);
    int takeEvent(snd_ctl_elem_id_t* id, unsigned& mask);

    // Set at construction.
    const pid_t mProcess;

    // Used by alsa-lib.
    snd_ctl_ext_t mExt = {};

    Mixer mMixer;
    std::unique_ptr<MixerWatch> mWatch;
};

}  // namespace cabinaudio::alsa
