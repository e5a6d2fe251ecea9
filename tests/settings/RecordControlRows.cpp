// SPDX-License-Identifier: Apache-2.0
#include "tests/settings/Row.h"

namespace cabinaudio::test {

std::vector<OperationRow> recordControlRows() {
    using R = audio::QVAudioRecordControl::AudioRecordControl;
    static const std::string longTag(70, 'x');
    return ofType(
        133,
        {{
            setter("Set", 198, {word(0), text("uplink"), text("noise"), word(8), pattern(8)},
                   [](R& r, Outputs& out) {
                       out.prepare(0, joined({word(8), pattern(8)}));
                       return r.set("uplink", "noise", *out.at<audio::effect_param_t>());
                   }),
            setter("SetWithoutData", 198, {word(0), text(std::string(63, 'x')), text(""), word(0)},
                   [](R& r, Outputs& out) {
                       out.prepare(0, word(0));
                       return r.set(longTag.c_str(), "", *out.at<audio::effect_param_t>());
                   }),
            getter("Get", 198, {word(1), text("uplink"), text("noise"), word(8), pattern(8)},
                   joined({word(3), {20, 21, 22, 23, 24, 25, 26, 27}}),
                   [](R& r, Outputs& out) {
                       out.prepare(0, joined({word(8), pattern(8)}));
                       return r.get("uplink", "noise", *out.at<audio::effect_param_t>());
                   }),
            getter("GetWithoutData", 198, {word(1), text("a"), text(std::string(63, 'x')), word(0)},
                   word(0xffffffff),
                   [](R& r, Outputs& out) {
                       out.prepare(0, word(0));
                       return r.get("a", longTag.c_str(), *out.at<audio::effect_param_t>());
                   }),
        }});
}

}  // namespace cabinaudio::test
