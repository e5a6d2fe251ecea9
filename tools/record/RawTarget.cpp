// SPDX-License-Identifier: Apache-2.0
#include "tools/record/OutputFile.h"
#include "tools/record/Target.h"
#include "tools/record/WideSamples.h"

#include <utility>
#include <vector>

namespace cabinaudio::tool {

namespace {

class RawTarget : public Target {
public:
    RawTarget(const std::string& file, const RecordFormat& format) : mFile(file), mFormat(format) {}

    void write(Bytes frame) override {
        mFile.write(frame);
        if (mFormat.codec != RecordCodec::Pcm) return;
        widen(mFormat.depth, frame, mSamples);
        raise(mLevel, mSamples);
    }

    void close() override { mFile.close(); }
    Level takeLevel() override { return std::exchange(mLevel, std::nullopt); }

private:
    OutputFile mFile;
    const RecordFormat mFormat;
    std::vector<std::int32_t> mSamples;
    Level mLevel;
};

}  // namespace

std::unique_ptr<Target> openRawTarget(const std::string& file, const RecordFormat& format) {
    return std::make_unique<RawTarget>(file, format);
}

}  // namespace cabinaudio::tool
