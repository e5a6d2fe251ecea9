// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Check.h"

/// The parsers of the kinds of checks. Each takes the words behind the first one, and sets `make`.
namespace cabinaudio::hear {

void parseLevel(Phrase& phrase, Check& check);
void parsePeak(Phrase& phrase, Check& check);
void parseClipping(Phrase& phrase, Check& check);
void parseSilence(Phrase& phrase, Check& check);
void parseGapFree(Phrase& phrase, Check& check);
void parseTone(Phrase& phrase, Check& check);
void parseClickFree(Phrase& phrase, Check& check);
void parseSame(Phrase& phrase, Check& check);
void parseLike(Phrase& phrase, Check& check);
void parseEqualRuns(Phrase& phrase, Check& check);
void parsePlayed(Phrase& phrase, Check& check);
void parseMix(Phrase& phrase, Check& check);
void parseStarts(Phrase& phrase, Check& check);
void parseLasts(Phrase& phrase, Check& check);
void parseOrder(Phrase& phrase, Check& check);
void parseOverlap(Phrase& phrase, Check& check);
void parseApart(Phrase& phrase, Check& check);
void parseDucked(Phrase& phrase, Check& check);

}  // namespace cabinaudio::hear
