// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/base/Log.h"
#include "devkit/server/inputs/InputSource.h"

#include <sndfile.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>

namespace cabinaudio::server {
namespace {

class FileInput : public InputSource {
public:
    explicit FileInput(const std::string& path) : mPath(path) {
        mFile.reset(sf_open(path.c_str(), SFM_READ, &mInfo));
        if (!mFile) throw std::runtime_error(path + ": " + sf_strerror(nullptr));
        if (mInfo.frames <= 0) throw std::runtime_error(path + ": there is no sound in it");
        if (mInfo.seekable == 0) throw std::runtime_error(path + ": cannot be read twice");
    }

    [[nodiscard]] std::uint32_t rate() const override {
        return static_cast<std::uint32_t>(mInfo.samplerate);
    }
    [[nodiscard]] unsigned channels() const override {
        return static_cast<unsigned>(mInfo.channels);
    }

    void read(std::span<float> frames) override {
        bool isAtStart = false;
        while (!frames.empty()) {
            const auto wanted = static_cast<sf_count_t>(frames.size() / channels());
            const sf_count_t got = sf_readf_float(mFile.get(), frames.data(), wanted);
            frames = frames.subspan(static_cast<std::size_t>(got) * channels());
            if (got > 0) {
                isAtStart = false;
            } else if (isAtStart || sf_seek(mFile.get(), 0, SEEK_SET) != 0) {
                failWithSilence(frames);
                return;
            } else {
                isAtStart = true;
            }
        }
    }

private:
    struct Close {
        void operator()(SNDFILE* file) const { sf_close(file); }
    };

    /// The file was shortened while open.
    void failWithSilence(std::span<float> frames) {
        std::fill(frames.begin(), frames.end(), 0.0F);
        if (!mHasFailed) log::error("%s: %s", mPath.c_str(), sf_strerror(mFile.get()));
        mHasFailed = true;
    }

    std::string mPath;
    SF_INFO mInfo = {};
    std::unique_ptr<SNDFILE, Close> mFile;
    bool mHasFailed = false;
};

}  // namespace

std::unique_ptr<InputSource> openInputFile(const std::string& path) {
    return std::make_unique<FileInput>(path);
}

}  // namespace cabinaudio::server
