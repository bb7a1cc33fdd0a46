#include "ftp/CommandLine.h"
#include "ftp/FTPFileServer.h"
#include "ftp/ListingLine.h"
#include "server/FolderPath.h"
#include "server/SortByName.h"
#include "server/Weakly.h"

#include <numeric>
#include <utility>

namespace quorvel::ftp {

namespace {

// What a line of LIST holds besides the name, or a little less.
constexpr std::size_t lineOverhead = 53;

std::size_t expectedSize(const std::vector<platform::FolderEntry>& entries) {
    return std::accumulate(entries.begin(), entries.end(), std::size_t{0},
                           [](std::size_t sum, const platform::FolderEntry& entry) {
                               return sum + lineOverhead + entry.name.size();
                           });
}

} // namespace

void FTPFileServer::handleLongList(const SessionPtr& session, std::string_view argument) {
    handleList(session, argument, ListForm::lines);
}

void FTPFileServer::handleNameList(const SessionPtr& session, std::string_view argument) {
    handleList(session, argument, ListForm::names);
}

void FTPFileServer::handleList(const SessionPtr& session, std::string_view argument,
                               ListForm form) {
    const auto found = find(*session, listPath(argument));
    if (!found) return sendReply(*session, "550 No such file or directory.\r\n");
    auto send = [text = listingOf(*found, form)](FTPFileServer& self,
                                                 const SessionPtr& owner) mutable {
        self.sendListing(owner, std::move(text));
    };
    transferWhenReady(session, server::weakly(weak_from_this(), std::move(send)));
}

std::string FTPFileServer::listingOf(const FoundItem& found, ListForm form) const {
    using platform::FolderEntry;
    const auto& attributes = found.item.attributes;
    std::vector<FolderEntry> entries;
    if (attributes.kind == platform::ItemKind::directory) {
        const auto detail = form == ListForm::names ? platform::EntryDetail::kind
                                                    : platform::EntryDetail::kindSizeDate;
        entries = folder_.entries(found.item, server::relativeTo(root_, found.location), detail)
                      .value_or(std::vector<FolderEntry>{});
        server::sortByName(entries);
    } else {
        entries.push_back({std::string(server::lastComponent(found.location)), false,
                           attributes.size, attributes.modified});
    }
    std::string text;
    text.reserve(expectedSize(entries));
    ListingDateFormatter dates;
    for (const FolderEntry& entry : entries) {
        if (form == ListForm::names)
            text.append(entry.name).append("\r\n");
        else
            appendListingLine(text, entry, dates);
    }
    return text;
}

void FTPFileServer::sendListing(const SessionPtr& session, std::string text) {
    const auto connection = claimDataConnection(*session);
    if (!connection) return;
    sendReply(*session, "150 Here comes the directory listing.\r\n");
    auto sent = [session, connection](FTPFileServer&, std::error_code error) {
        finishListing(*session, connection, error);
    };
    connection->send(std::move(text), server::weakly(weak_from_this(), std::move(sent)),
                     platform::MoreToSend::yes);
}

void FTPFileServer::finishListing(Session& session, const ConnectionPtr& connection,
                                  std::error_code error) {
    finishDataConnection(session, connection);
    sendReply(session, error ? "426 Transfer failed.\r\n" : "226 Directory send OK.\r\n");
}

} // namespace quorvel::ftp
