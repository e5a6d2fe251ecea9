// SPDX-License-Identifier: Apache-2.0
#include "plugins/alsa/Mixer.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "plugins/common/LinkSetup.h"

#include <algorithm>
#include <cerrno>

namespace cabinaudio::alsa {

namespace {

using plugin::Lock;

/// Status of a request that did not get through.
constexpr int NOT_SENT = 1;

int errorOf(int status) {
    switch (status) {
        case AUDIO_NO_ERROR:
            return 0;
        case NOT_SENT:
            return -ENODEV;
        case AUDIO_BAD_VALUE:
            return -EINVAL;
        default:
            return -EIO;
    }
}

}  // namespace

Mixer::Mixer() : mDescriptor(mChanges.descriptor()) {}

int Mixer::open() {
    if (mDescriptor < 0) return -EMFILE;
    const Lock lock(mLock);
    const int error = request([this](Volume& volume) { return listControls(volume, mControls); });
    mEntries.resize(mControls.size());
    return error;
}

/// A connection that is lost stays lost: only a new object reaches the next server.
template <typename Function>
int Mixer::request(const Function& function) {
    if (mSetting != nullptr) {
        const int status = function(*mSetting);
        if (status != NOT_SENT) return errorOf(status);
    }
    const plugin::SilentLog silent;
    mSetting = std::make_unique<ClientVolumeSetting>();
    return errorOf(function(*mSetting));
}

int Mixer::readLocked(std::size_t index, Values& values) {
    const Control& control = mControls[index];
    return request([&](Volume& volume) { return control.read(volume, values); });
}

int Mixer::read(std::size_t index, Values& values) {
    const Lock lock(mLock);
    const int error = readLocked(index, values);
    if (error == 0) note(index, values, false);
    return error;
}

int Mixer::write(std::size_t index, const Values& values) {
    const Control& control = mControls[index];
    const auto last = values.begin() + control.count;
    if (std::any_of(values.begin(), last,
                    [&](long value) { return value < control.least || value > control.most; }))
        return -EINVAL;
    const Lock lock(mLock);
    Values before = {};
    if (const int error = readLocked(index, before); error != 0) return error;
    if (std::equal(values.begin(), last, before.begin())) return 0;
    const int error = request([&](Volume& volume) { return control.write(volume, values); });
    if (error != 0) return error;
    note(index, values, true);
    return 1;
}

void Mixer::note(std::size_t index, const Values& values, bool mayBeNews) {
    Entry& entry = mEntries[index];
    const unsigned count = mControls[index].count;
    const bool isSame = std::equal(values.begin(), values.begin() + count, entry.values.begin());
    if (mayBeNews && entry.isKnown && !isSame) entry.isChanged = true;
    entry.isKnown = true;
    entry.values = values;
    mChanges.become(std::any_of(mEntries.begin(), mEntries.end(),
                                [](const Entry& each) { return each.isChanged; }));
}

void Mixer::update() {
    for (std::size_t index = 0; index < mControls.size(); ++index) {
        const Lock lock(mLock);  // for each one: a program need not wait for all of them
        Values values = {};
        if (readLocked(index, values) != 0) return;
        note(index, values, true);
    }
}

std::optional<std::size_t> Mixer::takeChange() {
    const Lock lock(mLock);
    const auto place = std::find_if(mEntries.begin(), mEntries.end(),
                                    [](const Entry& entry) { return entry.isChanged; });
    if (place == mEntries.end()) return std::nullopt;
    const auto index = static_cast<std::size_t>(place - mEntries.begin());
    place->isChanged = false;
    mChanges.become(std::any_of(mEntries.begin(), mEntries.end(),
                                [](const Entry& each) { return each.isChanged; }));
    return index;
}

}  // namespace cabinaudio::alsa
