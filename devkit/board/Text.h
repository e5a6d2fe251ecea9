// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <climits>
#include <cstddef>
#include <cstring>

namespace cabinaudio::board {

/// A text of bounded length on the stack. The stand-in runs inside foreign programs, before their
/// constructors and between fork and exec, so it must neither allocate nor use stdio.
template <std::size_t CAPACITY>
class Text {
public:
    Text& append(const char* text, std::size_t length) noexcept {
        if (length > CAPACITY - mLength) {
            mFits = false;
            return *this;
        }
        memcpy(mText + mLength, text, length);
        mLength += length;
        mText[mLength] = '\0';
        return *this;
    }

    Text& append(const char* text) noexcept { return append(text, strlen(text)); }

    Text& append(unsigned long value) noexcept {
        char digits[3 * sizeof value];
        std::size_t first = sizeof digits;
        do {
            digits[--first] = static_cast<char>('0' + value % 10);
            value /= 10;
        } while (value != 0);
        return append(digits + first, sizeof digits - first);
    }

    /// False once a part was dropped because it did not fit.
    bool fits() const noexcept { return mFits; }

    char* data() noexcept { return mText; }
    const char* c_str() const noexcept { return mText; }
    std::size_t length() const noexcept { return mLength; }

private:
    char mText[CAPACITY + 1] = {};
    std::size_t mLength = 0;
    bool mFits = true;
};

using PathText = Text<PATH_MAX - 1>;
using NameText = Text<NAME_MAX + 1>;  // an object's name and its leading slash

}  // namespace cabinaudio::board
