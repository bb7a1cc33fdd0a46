#include "platform/files/DirectoryReader.h"

#include "platform/files/NameOrder.h"
#include "platform/files/OpenRoot.h"
#include "platform/text/Text.h"

#include <cerrno>
#include <cstddef>
#include <dirent.h>
#include <expected>
#include <fcntl.h>
#include <future>
#include <memory>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace quorvel::platform {

namespace {

// To start one takes as much processor time as to order 200 names.
constexpr std::size_t worthAThread = 768;

/// What readdir(3) tells of an entry.
struct NameOnDisk {
    const char* bytes;
    unsigned char type;
};

/// Finds out what entries are. Opens the root only when a link has to be followed.
class Describer {
  public:
    Describer(const std::string& folderPath, const Item& directory, EntryDetail detail)
        : folderPath_(folderPath), directory_(directory), detail_(detail) {}

    void describe(const NameOnDisk& name, FolderEntry& entry) {
        if (name.type == DT_LNK)
            followLink(name.bytes, entry);
        else if (detail_ == EntryDetail::kind && name.type != DT_UNKNOWN)
            entry.isDirectory = name.type == DT_DIR;
        else
            askStatus(name.bytes, entry);
    }

  private:
    // Not statx(2), which takes a seventh longer.
    void askStatus(const char* name, FolderEntry& entry) {
        struct stat status{};
        if (fstatat(directory_.descriptor.number(), name, &status, AT_SYMLINK_NOFOLLOW) != 0)
            return;
        if (S_ISLNK(status.st_mode)) return followLink(name, entry);
        take(status, entry);
    }

    void followLink(const char* name, FolderEntry& entry) {
        if (!root_) {
            root_ = openRoot(folderPath_, Lookup::onDisk).value_or(nullptr);
            if (!root_) return;
        }
        const auto target = holdBeneath(*root_, directory_.path + '/' + name, Lookup::onDisk);
        struct stat status{};
        if (target && fstat(target->number(), &status) == 0) take(status, entry);
    }

    static void take(const struct stat& status, FolderEntry& entry) {
        entry.isDirectory = S_ISDIR(status.st_mode);
        entry.size = status.st_size;
        entry.modified = status.st_mtime;
    }

    const std::string& folderPath_;
    const Item& directory_;
    EntryDetail detail_;
    std::shared_ptr<const OpenRoot> root_;
};

class DirectoryReader {
  public:
    DirectoryReader(const std::string& folderPath, const Item& directory, EntryDetail detail)
        : folderPath_(folderPath), directory_(directory), detail_(detail) {}

    Result<EntryList> read(EntryOrder order) {
        if (const auto done = readNames(); !done) return std::unexpected(done.error());
        if (order == EntryOrder::any)
            describeAll();
        else
            describeAndArrange();
        return std::move(entries_);
    }

  private:
    Result<> readNames() {
        const auto stream = openDirectory(directory_.descriptor);
        if (!stream) return std::unexpected(stream.error());
        while (true) {
            errno = 0;
            const dirent* const found = readdir(stream->get());
            if (found == nullptr) break;
            if (found->d_name[0] != '.') add(*found);
        }
        if (errno != 0) return failure();
        return {};
    }

    void add(const dirent& found) {
        const char* const onDisk = entries_.keep(found.d_name);
        names_.push_back({onDisk, found.d_type});
        entries_.add(isValidUtf8(onDisk) ? onDisk : entries_.keep(withInvalidUtf8Replaced(onDisk)));
    }

    // The order does not depend on what the entries are, so a second thread finds it meanwhile. If
    // none can be had, std::async defers the work to get().
    void describeAndArrange() {
        const bool inParallel =
            detail_ == EntryDetail::kindSizeDate && entries_.size() >= worthAThread;
        const auto policy =
            inParallel ? std::launch::async | std::launch::deferred : std::launch::deferred;
        auto order = std::async(policy, [this] { return orderByName(entries_); });
        describeAll();
        entries_.arrange(order.get());
    }

    void describeAll() {
        Describer describer(folderPath_, directory_, detail_);
        for (std::size_t i = 0; i < names_.size(); ++i)
            describer.describe(names_[i], entries_[i]);
    }

    const std::string& folderPath_;
    const Item& directory_;
    EntryDetail detail_;
    EntryList entries_;
    std::vector<NameOnDisk> names_;
};

} // namespace

Result<EntryList> readDirectory(const std::string& folderPath, const Item& directory,
                                EntryDetail detail, EntryOrder order) {
    return DirectoryReader(folderPath, directory, detail).read(order);
}

} // namespace quorvel::platform
