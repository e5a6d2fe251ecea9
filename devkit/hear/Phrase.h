// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Range.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::hear {

/// Units of the numbers in a check. The value is in the first one.
enum class Unit {
    Decibel,  // dB, dBFS
    Hertz,    // Hz, kHz
    Second,   // s, ms
    Ms,       // ms, s
};

/// The words of one check, taken one after the other. Every operation throws an Error that names
/// the check, the word, and what was expected there.
class Phrase {
public:
    /// Blanks separate words, except between quotes and between brackets.
    explicit Phrase(const std::string& text);

    // The next word that was not taken.
    [[nodiscard]] bool hasMore() const;
    std::string next(const char* what);
    double nextNumber(const char* what, Unit unit);
    /// The two parts of a word, around its first or last `sign`.
    std::pair<std::string, std::string> nextPair(const char* what, char sign, bool atLast);
    /// Whether the next word begins like a number.
    [[nodiscard]] bool startsWithNumber() const;
    /// A number in a part of the word that was taken last.
    [[nodiscard]] double numberIn(const std::string& text, const char* what, Unit unit) const;
    /// The next word must be this one.
    void expect(const char* word);

    // Words at any later place.
    /// @return whether the word is there
    bool takeWord(const std::string& text);
    /// `NAME=NUMBER`; the range is that of accepted values.
    double option(const char* name, double otherwise, Unit unit);
    std::optional<double> optional(const char* name, Unit unit);
    /// `NAME=WORD`
    std::optional<std::string> word(const char* name);
    /// `tol=NUMBER` or `+-NUMBER`; not negative
    double tolerance(double otherwise, Unit unit);
    std::optional<double> optionalTolerance(Unit unit);
    /// `on CHANNEL` or `on=CHANNEL`: a name of a loudspeaker, or a number from 0
    std::optional<unsigned> channel();
    /// `[FROM..TO]`
    Range range();

    /// All words must have been taken by now.
    /// @param form  what the check looks like, for the error
    void end(const char* form) const;

    [[nodiscard]] const std::string& text() const { return mText; }
    [[noreturn]] void fail(const std::string& why) const;

private:
    struct Word {
        std::string text;
        bool isTaken = false;
        bool isRange = false;
    };

    [[nodiscard]] std::size_t firstFree() const;
    [[nodiscard]] std::size_t findOption(const std::string& name) const;
    [[noreturn]] void fail(std::size_t word, const std::string& why) const;
    [[nodiscard]] double number(std::size_t word, const std::string& text, Unit unit,
                                const std::string& what) const;
    [[nodiscard]] std::optional<Place> place(std::size_t word, const std::string& text) const;

    std::string mText;
    std::vector<Word> mWords;
    std::size_t mLast = 0;  // the word that was taken last by next()
};

}  // namespace cabinaudio::hear
