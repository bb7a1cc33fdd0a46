#include "model/FolderAccess.h"

#include "platform/files/SharedFolder.h"

#include <utility>

namespace quorvel::model {

std::optional<FolderAccess> FolderAccess::begin(const std::string& folder) {
    if (!platform::SharedFolder(folder).find("")) return std::nullopt;
    return FolderAccess(folder);
}

FolderAccess::FolderAccess(std::string folder) : folder_(std::move(folder)) {}

} // namespace quorvel::model
