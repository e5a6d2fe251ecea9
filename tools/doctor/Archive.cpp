// SPDX-License-Identifier: Apache-2.0
#include "tools/doctor/Archive.h"

#include "tools/Failure.h"

#include <archive.h>
#include <archive_entry.h>

#include <ctime>
#include <memory>
#include <utility>

namespace cabinaudio::tool {

namespace {

la_ssize_t append(struct archive*, void* bytes, const void* piece, std::size_t size) {
    static_cast<std::string*>(bytes)->append(static_cast<const char*>(piece), size);
    return static_cast<la_ssize_t>(size);
}

class Writer {
public:
    Writer() : mArchive(archive_write_new()), mEntry(archive_entry_new()) {
        if (!mArchive || !mEntry) throw Failure("no memory for the report");
        require(archive_write_add_filter_gzip(mArchive.get()));
        require(archive_write_set_format_pax_restricted(mArchive.get()));
        archive_write_set_bytes_in_last_block(mArchive.get(), 1);  // no padding for tapes
        require(archive_write_open(mArchive.get(), &mBytes, nullptr, append, nullptr));
    }

    void add(const std::string& name, const std::string& content) {
        archive_entry_clear(mEntry.get());
        archive_entry_set_pathname(mEntry.get(), name.c_str());
        archive_entry_set_filetype(mEntry.get(), AE_IFREG);
        archive_entry_set_perm(mEntry.get(), 0600);
        archive_entry_set_mtime(mEntry.get(), std::time(nullptr), 0);
        archive_entry_set_size(mEntry.get(), static_cast<la_int64_t>(content.size()));
        require(archive_write_header(mArchive.get(), mEntry.get()));
        if (archive_write_data(mArchive.get(), content.data(), content.size()) !=
            static_cast<la_ssize_t>(content.size()))
            fail();
    }

    [[nodiscard]] std::string finish() {
        require(archive_write_close(mArchive.get()));
        return std::move(mBytes);
    }

private:
    void require(int status) const {
        if (status != ARCHIVE_OK) fail();
    }
    [[noreturn]] void fail() const {
        const char* const why = archive_error_string(mArchive.get());
        throw Failure(std::string("cannot make the report: ") + (why != nullptr ? why : "unknown"));
    }

    struct FreeArchive {
        void operator()(struct archive* archive) const { archive_write_free(archive); }
    };
    struct FreeEntry {
        void operator()(struct archive_entry* entry) const { archive_entry_free(entry); }
    };

    std::string mBytes;  // outlives the archive, which may write until it is freed
    std::unique_ptr<struct archive, FreeArchive> mArchive;
    std::unique_ptr<struct archive_entry, FreeEntry> mEntry;
};

}  // namespace

std::string archiveOf(const std::string& directory, const std::vector<Member>& members) {
    Writer writer;
    for (const Member& member : members)
        writer.add(directory + "/" + member.name, member.content);
    return writer.finish();
}

}  // namespace cabinaudio::tool
