// SPDX-License-Identifier: Apache-2.0
// The module cabinaudio._hear: what a recording contains, and checks of it. Needs neither the
// client library nor a server.
#include "devkit/hear/Error.h"
#include "devkit/hear/Judge.h"
#include "devkit/hear/Picture.h"
#include "devkit/hear/Recording.h"
#include "python/src/Python.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::python {

namespace {

using Unlocked = py::call_guard<py::gil_scoped_release>;

/// Frames in rows, channels in columns. The memory stays the sound's.
py::buffer_info view(hear::Sound& sound) {
    constexpr auto ITEM = static_cast<py::ssize_t>(sizeof(float));
    const auto frames = static_cast<py::ssize_t>(sound.frames());
    const auto channels = static_cast<py::ssize_t>(sound.channels);
    return {sound.samples.data(),
            ITEM,
            py::format_descriptor<float>::format(),
            2,
            {frames, channels},
            {channels * ITEM, ITEM},
            /*readonly=*/true};
}

void bindSound(py::module_& module) {
    py::class_<hear::Sound>(module, "Sound", py::buffer_protocol(),
                            "Samples as floats, full scale -1 to 1; see cabinaudio.testing.Sound.")
        .def_readonly("rate", &hear::Sound::rate)
        .def_readonly("channels", &hear::Sound::channels)
        .def_readonly("bits", &hear::Sound::bits)
        .def_property_readonly("frames", &hear::Sound::frames)
        .def_buffer(&view);
    module.def("read_sound", &hear::readSound, py::arg("path"), Unlocked());
}

std::vector<std::string> stemNames(const hear::Recording& recording) {
    std::vector<std::string> names;
    for (const auto& [name, sound] : recording.stems)
        names.push_back(name);
    return names;
}

const hear::Sound& stem(const hear::Recording& recording, const std::string& name) {
    const auto found = recording.stems.find(name);
    if (found == recording.stems.end())
        throw py::key_error("no stream \"" + name + "\" was played");
    return found->second;
}

void bindRecording(py::module_& module) {
    py::class_<hear::Recording>(module, "Recording", "What a server has played in one run.")
        .def(py::init([](const hear::Sound& heard) {
                 auto recording = std::make_unique<hear::Recording>();
                 recording->heard = heard;
                 return recording;
             }),
             py::arg("heard"))
        .def_readonly("heard", &hear::Recording::heard)
        .def_readonly("path", &hear::Recording::path)
        .def_property_readonly("stem_names", &stemNames)
        .def("stem", &stem, py::arg("name"), py::return_value_policy::reference_internal);
    module.def("read_recording", &hear::readRecording, py::arg("path"), py::arg("report"),
               py::arg("stems"), Unlocked());
}

void bindVerdict(py::module_& module) {
    py::class_<hear::Verdict>(module, "Verdict", "The result of a check.")
        .def_readonly("check", &hear::Verdict::check)
        .def_readonly("met", &hear::Verdict::isMet)
        .def_readonly("start", &hear::Verdict::from)
        .def_readonly("end", &hear::Verdict::to)
        .def_readonly("measured", &hear::Verdict::measured)
        .def_readonly("required", &hear::Verdict::required)
        .def_readonly("text", &hear::Verdict::text)
        .def_readonly("at", &hear::Verdict::at);
    module.def(
        "judge",
        [](const hear::Recording& recording, const std::vector<std::string>& checks,
           std::optional<unsigned> channel) {
            return hear::judge(recording, checks, {.channel = channel});
        },
        py::arg("recording"), py::arg("checks"), py::arg("channel"), Unlocked());
    module.def("draw_picture", &hear::drawPicture, py::arg("path"), py::arg("recording"),
               py::arg("verdicts"), Unlocked());
}

void translateErrors() {
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            std::rethrow_exception(std::move(thrown));
        } catch (const hear::Error& error) {
            const py::object type = py::module_::import("cabinaudio.testing").attr("CheckError");
            PyErr_SetString(type.ptr(), error.what());
        }
    });
}

}  // namespace

}  // namespace cabinaudio::python

// The macro names the module's entry point.
PYBIND11_MODULE(_hear, module) {  // NOLINT
    module.doc() = "Recordings and checks of them; use cabinaudio.testing.";
    cabinaudio::python::translateErrors();
    cabinaudio::python::bindSound(module);
    cabinaudio::python::bindRecording(module);
    cabinaudio::python::bindVerdict(module);
}
