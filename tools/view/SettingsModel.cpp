// SPDX-License-Identifier: Apache-2.0
#include "tools/view/SettingsModel.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "tools/settings/FedValue.h"
#include "tools/settings/Line.h"
#include "tools/view/SettingJson.h"

#include <algorithm>
#include <set>
#include <stdexcept>
#include <utility>

namespace cabinaudio::tool::view {

namespace {

// Settings that are read at a time, besides those of the volume.
constexpr std::size_t IN_TURN = 6;
// Streams come and go less often than volumes change.
constexpr unsigned READS_PER_LIST = 7;

/// Shown large, and turned while somebody looks.
bool isOfVolume(const Named& named) {
    return named.setting->functions.connection == AUDIO_CONNECT_VOLUME_SETTING;
}

bool isList(const Named& named) {
    return named.setting->type.kind == Kind::List;
}

Failure notUnderstood(const Json::exception& error) {
    return Failure(std::string("the server's settings are not understood: ") + error.what());
}

}  // namespace

void SettingsModel::connect() {
    mFeed.reset();
    mSettings.clear();
    mSession.reconnect();
    (void)mSession.directory();  // fails if the server cannot be asked
    mTypes = mSession.streamTypes();
    mFeed = Subscription::open(mSession.interruption().event(), mTimeout);
    find();
}

void SettingsModel::takeChanges() {
    bool isChanged = false;
    while (mFeed->next(std::chrono::milliseconds(0)))
        isChanged = true;
    if (isChanged) find();
}

/// Settings that are not notified are read when they are new, and lists of streams when the streams
/// are others.
void SettingsModel::find() {
    const Directory found = directory();
    const Json streams = mFeed ? mFeed->document().at("streams") : Json(nullptr);
    const bool areOther = std::exchange(mStreams, streams) != streams;
    mNames.clear();
    for (Named& named : found.all())
        if (!named.setting->isMeter) mNames.push_back(std::move(named));
    for (const Named& named : mNames)
        if (isFedValue(named) || !mSettings.contains(named.name) || (areOther && isList(named)))
            put(named.name, valueOf(named));
    dropVanished();
    for (const Named& named : mNames) {
        ShownSetting& setting = mSettings[named.name];
        if (setting.description.is_null()) setting.description = descriptionOf(*named.setting);
    }
    mShown = std::make_shared<const ShownSettings>(mSettings);
}

void SettingsModel::readSome() {
    if (++mReads % READS_PER_LIST == 0) find();
    bool isChanged = false;
    const auto read = [&](const Named& named) {
        const Json value = valueOf(named);
        isChanged |= value != mSettings[named.name].value;
        put(named.name, value);
    };
    for (const Named& named : mNames)
        if (isOfVolume(named) && named.setting->get) read(named);
    std::size_t left = IN_TURN;
    for (std::size_t i = 0; i < mNames.size() && left > 0; ++i) {
        const Named& named = mNames[mNext++ % mNames.size()];
        if (isOfVolume(named) || !named.setting->get) continue;
        read(named);
        --left;
    }
    if (isChanged) mShown = std::make_shared<const ShownSettings>(mSettings);
}

SettingsModel::Result SettingsModel::set(const std::string& name, const Json& value,
                                         const Json& partner) {
    Result result;
    const std::optional<Named> named = directory().find(name);
    if (!named) {
        result.isInvalid = true;
        result.error = "no setting has this name";
        return result;
    }
    try {
        setAsAsked(*named, value, partner, result);
    } catch (const std::invalid_argument& error) {
        result.isInvalid = true;
        result.error = named->name + ": " + error.what();
        return result;
    }
    if (result.status != AUDIO_NO_ERROR) result.error = refusalText(result.status);
    // The server notifies a change before it answers.
    if (mFeed) takeChanges();
    result.value = readBack(*named);
    if (!partner.is_null()) result.partner = readBack(*directory().find(named->setting->partner));
    return result;
}

/// From the server where it has such an operation.
Json SettingsModel::readBack(const Named& named) {
    if (!named.setting->get) return valueOf(named);
    const Reading reading = mSession.get(named);
    if (reading.status != AUDIO_NO_ERROR) return nullptr;
    return valueJson(named.setting->type, reading.value);
}

void SettingsModel::setAsAsked(const Named& named, const Json& value, const Json& partner,
                               Result& result) {
    const Setting& setting = *named.setting;
    if (!setting.set) throw std::invalid_argument("can only be read");
    const Value own = valueOfJson(setting.type, value);
    if (partner.is_null()) {
        result.status = mSession.set(named, own);
        return;
    }
    if (setting.partner == nullptr) throw std::invalid_argument("has no partner");
    const std::optional<Named> other = directory().find(setting.partner);
    result.status = mSession.set(named, own, valueOfJson(other->setting->type, partner));
}

Directory SettingsModel::directory() {
    if (!mFeed) return mSession.directory();
    try {
        return Directory(fedNames(mFeed->document(), mTypes));
    } catch (const Json::exception& error) {
        throw notUnderstood(error);
    }
}

bool SettingsModel::isFedValue(const Named& named) const {
    return mFeed && tool::isFed(*named.setting);
}

/// Null if there is none, or the server does not tell it.
Json SettingsModel::valueOf(const Named& named) {
    const Setting& setting = *named.setting;
    if (isFedValue(named)) {
        try {
            const std::optional<Value> value = fedValue(mFeed->document().at("settings"), named);
            return value ? valueJson(setting.type, *value) : Json(nullptr);
        } catch (const Json::exception& error) {
            throw notUnderstood(error);
        }
    }
    if (!setting.get) return nullptr;
    const Reading reading = mSession.get(named);
    if (reading.status != AUDIO_NO_ERROR) return nullptr;
    return valueJson(setting.type, reading.value);
}

void SettingsModel::put(const std::string& name, const Json& value) {
    mSettings[name].value = value;
}

void SettingsModel::dropVanished() {
    std::set<std::string> names;
    for (const Named& named : mNames)
        names.insert(named.name);
    std::erase_if(mSettings, [&](const auto& entry) { return !names.contains(entry.first); });
}

}  // namespace cabinaudio::tool::view
