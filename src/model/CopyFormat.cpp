#include "model/CopyFormat.h"

#include <algorithm>

namespace quorvel::model {

std::string_view rawValue(CopyFormat format) {
    switch (format) {
    case CopyFormat::networkLine:
        return "Network link";
    case CopyFormat::networkJSON:
        return "Network JSON";
    case CopyFormat::localLine:
        return "Local link";
    case CopyFormat::localJSON:
        return "Local JSON";
    }
    return {};
}

std::optional<CopyFormat> copyFormatFrom(std::string_view text) {
    const auto* const found =
        std::ranges::find(allCopyFormats, text, [](CopyFormat format) { return rawValue(format); });
    return found == allCopyFormats.end() ? std::nullopt : std::optional(*found);
}

} // namespace quorvel::model
