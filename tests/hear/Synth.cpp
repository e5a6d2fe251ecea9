// SPDX-License-Identifier: Apache-2.0
#include "tests/hear/Synth.h"

#include "devkit/hear/Error.h"

#include <cmath>
#include <random>
#include <sndfile.hh>
#include <stdexcept>

namespace cabinaudio::test {

std::vector<float> tone(double hz, double db, std::size_t frames, unsigned rate) {
    constexpr double PI = 3.14159265358979323846;
    const double amplitude = std::sqrt(2.0) * std::pow(10, db / 20);
    std::vector<float> samples(frames);
    for (std::size_t i = 0; i < frames; ++i)
        samples[i] =
            static_cast<float>(amplitude * std::sin(2 * PI * hz * static_cast<double>(i) / rate));
    return samples;
}

std::vector<float> noise(std::size_t frames, float amplitude, std::uint32_t seed) {
    std::mt19937 generator(seed);
    std::vector<float> samples(frames);
    for (float& sample : samples)
        sample = amplitude * (static_cast<float>(generator() >> 8) / 8388608.0F - 1.0F);
    return samples;
}

Sound soundOf(const std::vector<float>& mono, unsigned channels, unsigned rate) {
    Sound sound{rate, channels, {}};
    for (const float sample : mono)
        sound.samples.insert(sound.samples.end(), channels, sample);
    return sound;
}

Recording recordingOf(Sound heard) {
    Recording recording;
    recording.heard = std::move(heard);
    return recording;
}

Recording recordingOf(const std::vector<float>& mono, unsigned channels) {
    return recordingOf(soundOf(mono, channels));
}

void addStream(Recording& recording, const std::string& name, const std::vector<float>& mono,
               std::size_t at) {
    Sound& heard = recording.heard;
    for (std::size_t i = 0; i < mono.size(); ++i)
        for (unsigned channel = 0; channel < heard.channels; ++channel)
            heard.samples.at((at + i) * heard.channels + channel) += mono[i];
    hear::StreamReport stream;
    stream.name = name;
    stream.tag = "auxiliary";
    stream.segments.push_back({at, 0, mono.size()});
    recording.report.isPresent = true;
    recording.report.frames = heard.frames();
    recording.report.streams.push_back(stream);
    recording.stems[name] = soundOf(mono, heard.channels);
}

Verdict verdictOf(const Recording& recording, const std::string& check) {
    return hear::judge(recording, {check}).at(0);
}

bool isMet(const Recording& recording, const std::string& check) {
    return verdictOf(recording, check).isMet;
}

std::string errorOf(const Recording& recording, const std::string& check) {
    try {
        (void)hear::judge(recording, {check});
    } catch (const hear::Error& error) {
        return error.what();
    }
    return "";
}

void writeWav(const std::string& path, const Sound& sound, int format) {
    SndfileHandle file(path, SFM_WRITE, SF_FORMAT_WAV | format, static_cast<int>(sound.channels),
                       static_cast<int>(sound.rate));
    const auto frames = static_cast<sf_count_t>(sound.frames());
    if (file.error() != 0 || file.writef(sound.samples.data(), frames) != frames)
        throw std::runtime_error(path + " cannot be written");
}

void writeWav(const std::string& path, const Sound& sound) {
    writeWav(path, sound, SF_FORMAT_FLOAT);
}

}  // namespace cabinaudio::test
