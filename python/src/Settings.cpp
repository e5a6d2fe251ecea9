// SPDX-License-Identifier: Apache-2.0
#include "python/src/Settings.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "python/src/Failure.h"
#include "tools/Failure.h"
#include "tools/settings/Line.h"
#include "tools/settings/Numbers.h"
#include "tools/settings/TrackRecords.h"
#include "tools/settings/Value.h"

#include <limits>
#include <stdexcept>
#include <variant>

namespace cabinaudio::python {

namespace {

using tool::Kind;
using tool::Type;

/// The library's status when a request did not reach the server.
constexpr int NOT_SENT = 1;

void requireSent(int status, const char* what) {
    if (status == NOT_SENT || status == AUDIO_NOT_CONNECTED) throw Failure(status, what);
}

/// A single value for a setting of one number, a list for others.
template <typename Items, typename Convert>
py::object single(const Type& type, const Items& items, Convert convert) {
    if (type.count == 1 && items.size() == 1) return convert(items.front());
    py::list list;
    for (const auto& item : items)
        list.append(convert(item));
    return list;
}

/// Numbers with a word for them, and masks of loudspeakers, as that text.
py::object integers(const Type& type, const tool::Integers& numbers) {
    if (type.kind == Kind::Meter) {
        return single(type, numbers, [](std::int64_t millionths) -> py::object {
            const tool::Type one = {.kind = Kind::Meter};
            const tool::Json level = tool::levelsInDb(one, tool::Integers{millionths});
            if (level.is_null()) return py::float_(-std::numeric_limits<double>::infinity());
            return py::float_(level.get<double>());
        });
    }
    const tool::Json json = tool::valueJson(type, numbers);
    if (json.is_string()) return py::str(json.get<std::string>());
    return single(type, numbers,
                  [](std::int64_t number) -> py::object { return py::int_(number); });
}

struct ToPython {
    const Type& type;

    py::object operator()(const tool::Reals& numbers) const {
        return single(type, numbers,
                      [](float number) -> py::object { return py::float_(tool::decimal(number)); });
    }
    py::object operator()(const tool::Steps& steps) const {
        return single(type, steps.steps,
                      [](unsigned step) -> py::object { return py::int_(step); });
    }
    py::object operator()(const tool::Integers& numbers) const { return integers(type, numbers); }
    py::object operator()(bool isOn) const { return py::bool_(isOn); }
    py::object operator()(const std::string& text) const { return py::str(text); }
    py::object operator()(const tool::Octets& bytes) const {
        return py::bytes(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }
    py::object operator()(const tool::Texts& texts) const { return py::cast(texts); }
};

[[noreturn]] void refuseRead(const tool::Named& named, int status) {
    if (tool::hasNoPosition(named, status))
        throw py::value_error(tool::unreadableText(named, status));
    throw Failure(status, "get of " + named.name);
}

}  // namespace

Settings::Settings() : mClients(std::make_unique<tool::Clients>()) {}

// NOLINTNEXTLINE(bugprone-exception-escape): only a mutex that does not exist would throw
Settings::~Settings() {
    if (mLife.isAbandoned())
        (void)mClients.release();  // its threads are the parent's
    else
        close();
}

tool::Directory Settings::directory() {
    tool::LiveNames live;
    requireSent(mClients->volume().getStreamTypeList(live.types), "the list of stream types");
    std::vector<audio::audio_track_info_t> records;
    requireSent(mClients->source().getActiveTracksInfo(records), "the list of streams");
    for (const auto& record : records) {
        const wire::TrackInfo track = tool::trackOf(record);
        const std::string name = tool::textOf(track.name);
        if (!name.empty()) live.tracks.emplace_back(tool::textOf(track.tag), name);
    }
    return tool::Directory(live);
}

tool::Named Settings::find(const std::string& name) {
    // Most names need no list of the server's.
    const tool::Directory fixed{std::nullopt};
    if (auto named = fixed.find(name)) {
        named->isByName = true;
        return *named;
    }
    const tool::Directory live = directory();
    if (auto named = live.find(name)) return *named;
    try {
        live.refuse(name);
    } catch (const tool::Failure& failure) {
        throw py::key_error(failure.what());
    }
}

std::vector<std::string> Settings::names(const std::string& pattern) {
    const Life::Use use(mLife);
    const py::gil_scoped_release unlocked;
    const std::scoped_lock lock(mLock);
    std::vector<std::string> names;
    try {
        for (const tool::Named& named : directory().select(pattern))
            names.push_back(named.name);
    } catch (const tool::Failure& failure) {
        throw py::key_error(failure.what());
    }
    return names;
}

py::object Settings::get(const std::string& name) {
    const Life::Use use(mLife);
    tool::Named named;
    tool::Reading reading;
    {
        const py::gil_scoped_release unlocked;
        const std::scoped_lock lock(mLock);
        named = find(name);
        if (!named.setting->get) throw py::value_error(tool::onlySetText(named));
        reading = named.setting->get(*mClients, named.names);
        if (reading.status != AUDIO_NO_ERROR) refuseRead(named, reading.status);
    }
    return std::visit(ToPython{named.setting->type}, reading.value);
}

void Settings::set(const std::string& name, const std::string& text) {
    const Life::Use use(mLife);
    const py::gil_scoped_release unlocked;
    const std::scoped_lock lock(mLock);
    const tool::Named named = find(name);
    if (!named.setting->set) throw py::value_error(named.name + " can only be read");
    tool::Value value;
    try {
        value = tool::parsedValue(named.setting->type, text);
    } catch (const std::invalid_argument& refusal) {
        throw py::value_error(named.name + ": " + refusal.what());
    }
    const int status = named.setting->set(*mClients, named.names, value);
    if (status != AUDIO_NO_ERROR) throw Failure(status, "set of " + named.name + "=" + text);
}

py::dict Settings::describe(const std::string& name) {
    const Life::Use use(mLife);
    tool::Named named;
    {
        const py::gil_scoped_release unlocked;
        const std::scoped_lock lock(mLock);
        named = find(name);
    }
    const tool::Setting& setting = *named.setting;
    py::dict text;
    text["name"] = named.name;
    text["what"] = setting.what;
    text["kind"] = tool::kindName(setting.type.kind);
    text["unit"] = setting.type.unit;
    text["range"] = tool::rangeText(setting.type);
    text["count"] = setting.type.count;
    text["readable"] = static_cast<bool>(setting.get);
    text["settable"] = static_cast<bool>(setting.set);
    text["meter"] = setting.isMeter;
    return text;
}

void Settings::close() {
    if (!mLife.close()) return;
    const py::gil_scoped_release unlocked;
    while (!mLife.isUnused()) {
    }
    mClients.reset();
}

void bindSettings(py::module_& module) {
    py::class_<Settings>(module, "Settings", "The server's settings; see cabinaudio.Settings.")
        .def(py::init<>())
        .def("names", &Settings::names, py::arg("pattern"))
        .def("get", &Settings::get, py::arg("name"))
        .def("set", &Settings::set, py::arg("name"), py::arg("text"))
        .def("describe", &Settings::describe, py::arg("name"))
        .def("close", &Settings::close);
}

}  // namespace cabinaudio::python
