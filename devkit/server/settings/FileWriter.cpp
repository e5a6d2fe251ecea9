// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/settings/FileWriter.h"

#include "devkit/server/base/Log.h"
#include "devkit/server/settings/FileReplacement.h"

#include <system_error>
#include <utility>

namespace cabinaudio::server {

FileWriter::FileWriter(std::string path) : mPath(std::move(path)), mThread([this] { work(); }) {}

FileWriter::~FileWriter() {
    {
        const Lock lock(mLock);
        mIsOver = true;
    }
    mChanged.notifyOne();
    mThread.join();
}

void FileWriter::write(Content content) {
    {
        const Lock lock(mLock);
        mContent = std::move(content);
    }
    mChanged.notifyOne();
}

void FileWriter::work() {
    Lock lock(mLock);
    while (true) {
        while (!mContent && !mIsOver)
            mChanged.wait(lock);
        if (!mContent) return;
        const Content content = std::exchange(mContent, {});
        lock.unlock();
        try {
            replaceFile(mPath, content());
        } catch (const std::system_error& error) {
            log::error("%s cannot be written: %s", mPath.c_str(), error.what());
        }
        lock.lock();
    }
}

}  // namespace cabinaudio::server
