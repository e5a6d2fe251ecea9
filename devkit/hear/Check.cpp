// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Check.h"

#include "devkit/hear/Kinds.h"

#include <algorithm>
#include <iterator>

namespace cabinaudio::hear {
namespace {

constexpr Kind KINDS[] = {
    {"level", "level DB [tol=DB] [on CHANNEL] [FROM..TO]", true, true, parseLevel},
    {"peak", "peak DB [on CHANNEL] [FROM..TO]", true, true, parsePeak},
    {"clipping", "clipping [on CHANNEL] [FROM..TO]", true, true, parseClipping},
    {"clip-free", "clip-free [on CHANNEL] [FROM..TO]", true, true, parseClipping},
    {"silence", "silence [below=DB] [on CHANNEL] [FROM..TO]", true, true, parseSilence},
    {"sound", "sound [max=MS] [below=DB] [on CHANNEL] [FROM..TO]", true, true, parseGapFree},
    {"gap-free", "gap-free [max=MS] [below=DB] [on CHANNEL] [FROM..TO]", true, true, parseGapFree},
    {"tone", "tone HZ [tol=HZ] [level=DB] [level-tol=DB] [by=DB] [on CHANNEL] [FROM..TO]", true,
     true, parseTone},
    {"click-free", "click-free [by=DB] [below=DB] [on CHANNEL] [FROM..TO]", true, true,
     parseClickFree},
    {"same", "same FILE [on CHANNEL] [FROM..TO]", true, true, parseSame},
    {"like", "like FILE [by=DB] [shift=MS|any] [tol=MS] [gain=DB|any] [on CHANNEL] [FROM..TO]",
     true, true, parseLike},
    {"equal-runs", "equal-runs FILE...", false, false, parseEqualRuns},
    {"played", "played NAME=FILE", false, false, parsePlayed},
    {"mix", "mix", false, false, parseMix},
    {"starts", "starts NAME@MS [tol=MS] [FROM..TO]", true, false, parseStarts},
    {"lasts", "lasts [NAME] SECONDS [tol=MS]", false, false, parseLasts},
    {"order", "order NAME NAME...", false, false, parseOrder},
    {"overlap", "overlap NAME NAME... [FROM..TO]", true, false, parseOverlap},
    {"apart", "apart NAME NAME... [FROM..TO]", true, false, parseApart},
    {"ducked", "ducked NAME by DB during NAME [tol=DB] [ramp=MS] [hold=MS] [FROM..TO]", true, false,
     parseDucked},
};

std::string allKinds() {
    std::string names;
    for (const Kind& kind : KINDS)
        names += (names.empty() ? "" : ", ") + std::string(kind.name);
    return names;
}

}  // namespace

Check checkOf(const std::string& text) {
    Phrase phrase(text);
    const std::string name = phrase.next("a check");
    const Kind* kind = std::find_if(std::begin(KINDS), std::end(KINDS),
                                    [&](const Kind& known) { return name == known.name; });
    if (kind == std::end(KINDS))
        phrase.fail("\"" + name + "\" is no check; the checks are " + allKinds());
    Check check;
    check.text = text;
    if (kind->takesRange) check.range = phrase.range();
    if (kind->takesChannel) check.channel = phrase.channel();
    kind->parse(phrase, check);
    phrase.end(kind->form);
    return check;
}

}  // namespace cabinaudio::hear
