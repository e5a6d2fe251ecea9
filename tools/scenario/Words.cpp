// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/Words.h"

namespace cabinaudio::tool::scenario {

namespace {

constexpr std::string_view BLANKS = " \t\r";

class Splitter {
public:
    explicit Splitter(std::string_view text) : mRest(text) {}

    Line split() {
        while (skipBlanks() && mLine.fault.empty())
            takeWord();
        return std::move(mLine);
    }

private:
    /// @return whether a word follows
    bool skipBlanks() {
        const std::size_t begin = mRest.find_first_not_of(BLANKS);
        mRest.remove_prefix(begin == std::string_view::npos ? mRest.size() : begin);
        return !mRest.empty() && mRest.front() != '#';
    }

    void takeWord() {
        std::string word;
        while (mLine.fault.empty() && !mRest.empty() &&
               BLANKS.find(mRest.front()) == std::string_view::npos) {
            const char letter = take();
            if (letter == '\'' || letter == '"')
                takeQuoted(letter, word);
            else if (letter == '\\')
                takeEscaped(word);
            else
                word += letter;
        }
        mLine.words.push_back(std::move(word));
    }

    void takeQuoted(char quote, std::string& word) {
        while (!mRest.empty() && mRest.front() != quote) {
            const char letter = take();
            const bool isEscape = letter == '\\' && quote == '"' && !mRest.empty() &&
                                  (mRest.front() == '"' || mRest.front() == '\\');
            word += isEscape ? take() : letter;
        }
        if (mRest.empty())
            mLine.fault = std::string("the quote ") + quote + " is not closed";
        else
            take();
    }

    void takeEscaped(std::string& word) {
        if (mRest.empty())
            mLine.fault = "the line ends with a backslash";
        else
            word += take();
    }

    char take() {
        const char letter = mRest.front();
        mRest.remove_prefix(1);
        return letter;
    }

    std::string_view mRest;
    Line mLine;
};

}  // namespace

Line splitLine(std::string_view text) {
    return Splitter(text).split();
}

}  // namespace cabinaudio::tool::scenario
