// SPDX-License-Identifier: Apache-2.0
#include "plugins/alsa/Ctl.h"

#include "plugins/alsa/Guarded.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string_view>

namespace cabinaudio::alsa {

Ctl::Ctl() : mProcess(getpid()) {}

bool Ctl::isOurs() const {
    return getpid() == mProcess;
}

int Ctl::list(unsigned index, snd_ctl_elem_id_t* id) const {
    if (index >= mMixer.controls().size()) return -EINVAL;
    snd_ctl_elem_id_set_interface(id, SND_CTL_ELEM_IFACE_MIXER);
    snd_ctl_elem_id_set_name(id, mMixer.controls()[index].name.c_str());
    return 0;
}

snd_ctl_ext_key_t Ctl::find(const snd_ctl_elem_id_t* id) const {
    const auto& controls = mMixer.controls();
    const unsigned number = snd_ctl_elem_id_get_numid(id);
    if (number > 0) return number <= controls.size() ? number - 1 : SND_CTL_EXT_KEY_NOT_FOUND;
    const std::string_view name = snd_ctl_elem_id_get_name(id);
    const auto place = std::find_if(controls.begin(), controls.end(),
                                    [name](const Control& each) { return each.name == name; });
    if (place == controls.end() || snd_ctl_elem_id_get_index(id) != 0)
        return SND_CTL_EXT_KEY_NOT_FOUND;
    return static_cast<snd_ctl_ext_key_t>(place - controls.begin());
}

int Ctl::describe(snd_ctl_ext_key_t key, int& type, unsigned& access, unsigned& count) const {
    const Control& control = mMixer.controls()[key];
    type = control.isSwitch ? SND_CTL_ELEM_TYPE_BOOLEAN : SND_CTL_ELEM_TYPE_INTEGER;
    access = SND_CTL_EXT_ACCESS_READWRITE;
    if (control.scale != Control::Scale::None)
        access |= SND_CTL_EXT_ACCESS_TLV_READ | SND_CTL_EXT_ACCESS_TLV_CALLBACK;
    count = control.count;
    return 0;
}

int Ctl::copyTlv(snd_ctl_ext_key_t key, unsigned* tlv, unsigned bytes) const {
    const std::vector<unsigned> words = mMixer.controls()[key].tlv();
    if (words.empty()) return -ENXIO;
    if (bytes < words.size() * sizeof(unsigned)) return -ENOMEM;
    std::copy(words.begin(), words.end(), tlv);
    return 0;
}

int Ctl::read(snd_ctl_ext_key_t key, long* values) {
    if (!isOurs()) return -ENODEV;
    Values read = {};
    if (const int error = mMixer.read(key, read); error != 0) return error;
    std::copy_n(read.begin(), mMixer.controls()[key].count, values);
    return 0;
}

int Ctl::write(snd_ctl_ext_key_t key, const long* values) {
    if (!isOurs()) return -ENODEV;
    Values written = {};
    std::copy_n(values, mMixer.controls()[key].count, written.begin());
    return mMixer.write(key, written);
}

void Ctl::subscribe(bool isOn) {
    if (!isOurs()) return;
    if (!isOn)
        mWatch.reset();
    else if (mWatch == nullptr)
        mWatch = std::make_unique<MixerWatch>(mMixer);
}

int Ctl::takeEvent(snd_ctl_elem_id_t* id, unsigned& mask) {
    if (!isOurs()) return -ENODEV;
    const auto index = mMixer.takeChange();
    if (!index) return -EAGAIN;
    list(static_cast<unsigned>(*index), id);
    snd_ctl_elem_id_set_numid(id, static_cast<unsigned>(*index) + 1);
    mask = SND_CTL_EVENT_MASK_VALUE;
    return 1;
}

// ---- Callbacks of alsa-lib ----------------------------------------------------------------------

struct Ctl::Callbacks {
    static Ctl& of(snd_ctl_ext_t* ext) { return *static_cast<Ctl*>(ext->private_data); }

    static int count(snd_ctl_ext_t* ext) noexcept {
        return static_cast<int>(of(ext).mMixer.controls().size());
    }
    static int list(snd_ctl_ext_t* ext, unsigned offset, snd_ctl_elem_id_t* id) noexcept {
        return of(ext).list(offset, id);
    }
    static snd_ctl_ext_key_t find(snd_ctl_ext_t* ext, const snd_ctl_elem_id_t* id) noexcept {
        return of(ext).find(id);
    }
    static int describe(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, int* type, unsigned* access,
                        unsigned* count) noexcept {
        return of(ext).describe(key, *type, *access, *count);
    }
    static int range(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, long* least, long* most,
                     long* step) noexcept {
        const Control& control = of(ext).mMixer.controls()[key];
        *least = control.least;
        *most = control.most;
        *step = 1;
        return 0;
    }
    static int tlv(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, int /*operation*/,
                   unsigned /*number*/, unsigned* tlv, unsigned bytes) noexcept {
        return guarded([=] { return of(ext).copyTlv(key, tlv, bytes); });
    }
    static int read(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, long* values) noexcept {
        return guarded([=] { return of(ext).read(key, values); });
    }
    static int write(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, long* values) noexcept {
        return guarded([=] { return of(ext).write(key, values); });
    }
    static void subscribe(snd_ctl_ext_t* ext, int isOn) noexcept {
        guarded([=] {
            of(ext).subscribe(isOn != 0);
            return 0;
        });
    }
    static int takeEvent(snd_ctl_ext_t* ext, snd_ctl_elem_id_t* id, unsigned* mask) noexcept {
        return guarded([=] { return of(ext).takeEvent(id, *mask); });
    }
    /// In the child of a fork, the memory stays: its parts belong to threads that only the parent
    /// has.
    static void close(snd_ctl_ext_t* ext) noexcept {
        Ctl* const ctl = &of(ext);
        if (ctl->isOurs()) delete ctl;
    }

    static const snd_ctl_ext_callback_t* table() {
        static const snd_ctl_ext_callback_t callbacks = [] {
            snd_ctl_ext_callback_t table = {};
            table.close = close;
            table.elem_count = count;
            table.elem_list = list;
            table.find_elem = find;
            table.get_attribute = describe;
            table.get_integer_info = range;
            table.read_integer = read;
            table.write_integer = write;
            table.subscribe_events = subscribe;
            table.read_event = takeEvent;
            return table;
        }();
        return &callbacks;
    }
};

int Ctl::create(const char* name, int mode) {
    if (const int error = mMixer.open(); error != 0) return error;
    mExt.version = SND_CTL_EXT_VERSION;
    mExt.card_idx = -1;
    std::snprintf(mExt.id, sizeof mExt.id, "cabinaudio");
    std::snprintf(mExt.driver, sizeof mExt.driver, "cabinaudio");
    std::snprintf(mExt.name, sizeof mExt.name, "Cabin audio server");
    std::snprintf(mExt.longname, sizeof mExt.longname, "Cabin audio server");
    std::snprintf(mExt.mixername, sizeof mExt.mixername, "Cabin audio server");
    mExt.poll_fd = mMixer.descriptor();
    mExt.callback = Callbacks::table();
    mExt.private_data = this;
    mExt.tlv.c = Callbacks::tlv;
    return snd_ctl_ext_create(&mExt, name, mode);
}

}  // namespace cabinaudio::alsa
