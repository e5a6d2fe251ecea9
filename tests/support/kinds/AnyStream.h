// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientRecordRt.h>
#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientTrack.h>

#include <type_traits>

namespace cabinaudio::test {

/// A stream of any kind.
class AnyStream {
public:
    virtual ~AnyStream() = default;
    virtual int initCheck() = 0;
    virtual int start() = 0;
    virtual int stop() = 0;
    virtual int clear() = 0;
    virtual int getPerLoopSize() = 0;
    virtual int getTotalBufferSize() = 0;
    /// Writes or reads.
    virtual int move(unsigned char* bytes, int count, bool isBlock) = 0;
    /// Bytes free or used: what a move takes at once.
    virtual int available() = 0;
    /// One more request: the end of the data, or the volume of a capture stream.
    virtual int ask() = 0;
    /// One of the operations that never wait for data.
    virtual int operate(unsigned which, unsigned char* bytes) = 0;
    /// Reports an update of the ring, as the ring's receiver thread does.
    virtual void notify() = 0;
};

template <typename Stream>
class StreamOf : public AnyStream {
public:
    template <typename... Arguments>
    explicit StreamOf(Arguments&&... arguments) : mStream(arguments...) {}

    int initCheck() override { return mStream.initCheck(); }
    int start() override { return mStream.start(); }
    int stop() override { return mStream.stop(); }
    int clear() override { return mStream.clear(); }
    int getPerLoopSize() override { return mStream.getPerLoopSize(); }
    int getTotalBufferSize() override { return mStream.getTotalBufferSize(); }

    int move(unsigned char* bytes, int count, bool isBlock) override {
        if constexpr (PLAYS)
            return mStream.write(bytes, count, isBlock);
        else
            return mStream.read(bytes, count, isBlock);
    }

    int available() override {
        if constexpr (PLAYS)
            return mStream.bytesFree();
        else
            return mStream.bytesUsed();
    }

    int ask() override {
        if constexpr (PLAYS)
            return mStream.writeDone();
        else
            return mStream.getVolume();
    }

    int operate(unsigned which, unsigned char* bytes) override {
        switch (which % 10) {
            case 0:
                return start();
            case 1:
                return stop();
            case 2:
                return clear();
            case 3:
                return getTotalBufferSize();
            case 4:
                return mStream.setVolume(static_cast<int>(which % 100));
            case 5:
                return mStream.getVolume();
            case 6:
                return available();
            case 7:
                return ask();
            case 8:
                if constexpr (PLAYS) return mStream.setCallback(nullptr);
                [[fallthrough]];
            default:
                return move(bytes, 1 + static_cast<int>(which % 64), false);
        }
    }

    void notify() override { mStream.notify(); }

private:
    static constexpr bool PLAYS = std::is_base_of_v<audio::QVAudioTrack, Stream>;

    Stream mStream;
};

}  // namespace cabinaudio::test
