#include "model/ServerFactory.h"

#include "http/HTTPFileServer.h"
#include "platform/Result.h"

#include <utility>

namespace quorvel::model {

namespace {

/// Stands for a protocol that this build cannot serve: its start says so.
class UnavailableServer final : public server::FolderServer {
  public:
    platform::Result<> start() override { return std::unexpected(std::error_code(0, category())); }
    void stop() override {}

  private:
    class Category final : public std::error_category {
      public:
        const char* name() const noexcept override { return "model"; }
        std::string message(int) const override { return "FTP is not available in this build."; }
    };
    static const std::error_category& category() {
        static const Category instance;
        return instance;
    }
};

} // namespace

std::shared_ptr<server::FolderServer>
makeFolderServer(ServerType type, std::string root, std::uint16_t port,
                 std::optional<server::Credentials> credentials) {
    if (type == ServerType::ftp) return std::make_shared<UnavailableServer>();
    return http::HTTPFileServer::create(std::move(root), port, std::move(credentials));
}

} // namespace quorvel::model
