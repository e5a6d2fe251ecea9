// SPDX-License-Identifier: Apache-2.0
#include "tools/view/Export.h"

#include "devkit/text/Printable.h"
#include "tools/Terminal.h"
#include "tools/view/Model.h"
#include "tools/view/Picture.h"

namespace cabinaudio::tool::view {

namespace {

constexpr char SVG[] = ".svg";
constexpr char PNG[] = ".png";

/// "the cabin with 2 streams"
std::string subject(const Json& live) {
    if (live.is_null()) return "the cabin; this server does not tell levels and streams";
    const std::size_t streams = live.at("streams").size();
    return "the cabin with " + std::to_string(streams) + (streams == 1 ? " stream" : " streams");
}

}  // namespace

std::string exportFault(const std::string& file) {
    const bool isPicture = file.ends_with(SVG) || file.ends_with(PNG);
    return isPicture ? "" : "--export: must be a file name that ends in .svg or .png";
}

void exportPicture(Session& session, const ViewOptions& options) {
    Model model(session, options.timeout);
    model.connect();
    const Json live = model.live() != nullptr ? model.live()->state() : Json(nullptr);
    const std::string& file = options.exportFile;
    const std::unique_ptr<Canvas> canvas =
        file.ends_with(SVG) ? makeSvgCanvas(PICTURE_WIDTH, PICTURE_HEIGHT, subject(live))
                            : makePngCanvas(PICTURE_WIDTH, PICTURE_HEIGHT);
    drawCabin(*canvas, model.snapshot(), live, options.isDark);
    canvas->save(file);
    if (session.wantsJson()) {
        session.report("file") = file;
        session.report("streams") = live.is_null() ? Json(nullptr) : Json(live["streams"].size());
    } else {
        say(text::printable(file + ": " + subject(live)));
    }
}

}  // namespace cabinaudio::tool::view
