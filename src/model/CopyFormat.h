#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace quorvel::model {

/// Which share text the copy action produces.
enum class CopyFormat { networkLine, networkJSON, localLine, localJSON };

/// In the order pickers show them.
inline constexpr std::array allCopyFormats{CopyFormat::networkLine, CopyFormat::networkJSON,
                                           CopyFormat::localLine, CopyFormat::localJSON};

/// "Network link", "Network JSON", "Local link" or "Local JSON": the text shown to the user and
/// the value stored in the settings.
std::string_view rawValue(CopyFormat format);

/// The format with exactly this raw value.
std::optional<CopyFormat> copyFormatFrom(std::string_view rawValue);

} // namespace quorvel::model
