// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/ThreadSafety.h>

#include <cstdint>
#include <list>

namespace cabinaudio {
class LineReader;
}

/// Says where a stream's PCM is dumped to. Items are identified by tag and usage together.
struct AudioDumpItem {
    char tag[64];       ///< text of the stream's tag, see AudioTypes::getTag()
    char usage[64];     ///< who dumps; "client" is this library
    char outPath[256];  ///< directory of the dump files
};
static_assert(sizeof(AudioDumpItem) == 384, "shared with other users of the file");

/// Says where a stream is traced to; laid out as AudioDumpItem.
struct AudioTraceItem {
    char tag[64];       ///< text of the stream's tag
    char usage[64];     ///< who traces
    char outPath[256];  ///< where to
};
static_assert(sizeof(AudioTraceItem) == 384, "shared with other users of the file");

/// Only the number is stored; no log call of the library looks at it. The values are the log
/// library's priorities.
enum AudioLogLevel : std::int32_t {
    AUDIO_LOG_LEVEL_DEBUG = 3,
    AUDIO_LOG_LEVEL_INFO = 4,
    AUDIO_LOG_LEVEL_WARN = 5,
    AUDIO_LOG_LEVEL_ERROR = 6,
};

/// The diagnostics settings on flash: which streams are dumped and traced, a log level and a mark
/// switch. Reads "/media/flash/nvm/as_server/audio_config" when it is constructed.
///
/// Threads   Any thread may call; one lock per object. Objects do not know of each other, and
///           nothing locks the file.
/// Failure   A missing file or a malformed block never fails: what could be read counts, the rest
///           keeps its default (no items, level 4, mark switch off).
class CABINAUDIO_API AudioConfig {
public:
    /// Reads the file; creates its directory (last level only) when it is missing.
    /// @param readOnly  false writes the settings back in the destructor
    explicit AudioConfig(bool readOnly);
    /// Unless read-only, replaces the file by what is set now. A failure is logged.
    ~AudioConfig();
    AudioConfig(const AudioConfig&) = delete;
    AudioConfig& operator=(const AudioConfig&) = delete;

    /// @param level  any number; it is stored as it is
    void setLogLevel(AudioLogLevel level);
    /// @return the stored level, 4 unless the file or setLogLevel() says otherwise
    [[nodiscard]] AudioLogLevel getLogLevel();

    /// @param enMark  the mark switch; only stored
    void setEnMark(bool enMark);
    /// @return the mark switch
    [[nodiscard]] bool getEnMark();

    /// @return the stored item of this tag and usage (each cut to 63 characters), or null; null too
    ///         when tag or usage is null.
    ///         It stays valid until it is removed, or the list cleared, or the object destroyed.
    [[nodiscard]] AudioDumpItem* getDumpItem(const char* tag, const char* usage);
    /// As getDumpItem(), of the traces.
    [[nodiscard]] AudioTraceItem* getTraceItem(const char* tag, const char* usage);

    /// Adds a copy at the end; where tag and usage are known already, replaces the path only. Each
    /// text counts up to its zero or to the last but one character. Out of memory ends the process.
    void addDumpItem(AudioDumpItem& item) noexcept;
    /// As addDumpItem(), of the traces.
    void addTraceItem(AudioTraceItem& item) noexcept;

    /// Removes the stored item of the same tag and usage, if there is one.
    void removeDumpItem(AudioDumpItem& item);
    /// As removeDumpItem(), of the traces.
    void removeTraceItem(AudioTraceItem& item);

    /// Removes all dump items.
    void clearDumpItem();
    /// Removes all trace items.
    void clearTraceItem();

private:
    template <typename Item>
    using Items = std::list<Item*>;

    CABINAUDIO_LOCAL void _parseConfigItems() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL void _parseDumpItem(cabinaudio::LineReader& lines) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL void _parseTraceItem(cabinaudio::LineReader& lines) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL void _parseLogItem(cabinaudio::LineReader& lines) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL void _storeConfigItems() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL bool _writeConfigItems(int& error) CABINAUDIO_REQUIRES(mLock);

    // Set at construction.
    bool mReadOnly;

    // Guarded by mLock. An item that a caller was given is the caller's matter.
    Items<AudioDumpItem> mDumpItems CABINAUDIO_GUARDED_BY(mLock);
    Items<AudioTraceItem> mTraceItems CABINAUDIO_GUARDED_BY(mLock);
    AudioLogLevel mLogLevel CABINAUDIO_GUARDED_BY(mLock);
    bool mEnMark CABINAUDIO_GUARDED_BY(mLock);

    // Has its own synchronization.
    AudioMutex mLock;
};
