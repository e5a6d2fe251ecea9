// SPDX-License-Identifier: Apache-2.0
#include "tests/settings/Row.h"

namespace cabinaudio::test {

std::vector<Row> recordControlRows() {
    static const std::string longTag(70, 'x');
    std::vector<Row> rows = {
        {"Set", 198, joined({word(0), text("uplink"), text("noise"), word(8), pattern(8)}), 4,
         [](const Clients& c, Outputs& out) {
             out.prepare(0, joined({word(8), pattern(8)}));
             return c.record().set("uplink", "noise", *out.at<audio::effect_param_t>());
         }},
        {"SetWithoutData", 198, joined({word(0), text(std::string(63, 'x')), text(""), word(0)}), 4,
         [](const Clients& c, Outputs& out) {
             out.prepare(0, word(0));
             return c.record().set(longTag.c_str(), "", *out.at<audio::effect_param_t>());
         }},
        {.test = "Get",
         .command = 198,
         .request = joined({word(1), text("uplink"), text("noise"), word(8), pattern(8)}),
         .replySize = 16,
         .call =
             [](const Clients& c, Outputs& out) {
                 out.prepare(0, joined({word(8), pattern(8)}));
                 return c.record().get("uplink", "noise", *out.at<audio::effect_param_t>());
             },
         .results = joined({word(3), {20, 21, 22, 23, 24, 25, 26, 27}}),
         .stored = joined({word(3), {20, 21, 22, 23, 24, 25, 26, 27}})},
        {.test = "GetWithoutData",
         .command = 198,
         .request = joined({word(1), text("a"), text(std::string(63, 'x')), word(0)}),
         .replySize = 8,
         .call =
             [](const Clients& c, Outputs& out) {
                 out.prepare(0, word(0));
                 return c.record().get("a", longTag.c_str(), *out.at<audio::effect_param_t>());
             },
         .results = word(0xffffffff),
         .stored = word(0xffffffff)},
    };
    for (Row& row : rows)
        row.type = 133;
    return rows;
}

}  // namespace cabinaudio::test
