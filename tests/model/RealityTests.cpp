#include "support/SocketClient.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualMainQueue.h"

#include "model/FileSettingsStore.h"
#include "model/ServerModel.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <grp.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorvel::model {

namespace {

namespace fs = std::filesystem;

/// The model with the real servers and the real settings file.
class RealityTest : public testing::Test {
  protected:
    std::shared_ptr<ServerModel> makeModel() const {
        Services services;
        services.mainQueue = queue_;
        services.defaults = std::make_shared<FileSettingsStore>(settings_);
        return ServerModel::create(std::move(services));
    }

    std::shared_ptr<ServerModel> started(ServerType type, std::int64_t port) const {
        auto model = makeModel();
        model->setServerType(type);
        model->setPort(port);
        model->setFolderPath(folder_.path());
        model->start();
        test::eventually([&] {
            queue_->runPosted();
            return model->state().kind != State::Case::starting;
        });
        return model;
    }

    /// Runs the work in a process of its own; how that ended, as waitpid(2) tells it.
    template <class Work>
    static int inChild(Work work) {
        const pid_t child = fork();
        if (child == 0) _exit(work());
        int status = -1;
        waitpid(child, &status, 0);
        return status;
    }

    const test::TemporaryFolder folder_;
    const std::string settings_ = folder_.path("config/app/settings.json");
    const std::shared_ptr<test::VirtualMainQueue> queue_ =
        std::make_shared<test::VirtualMainQueue>();
};

TEST_F(RealityTest, SettingsSurviveAKillRightAfterTheyAreSet) {
    folder_.write("config/app/settings.json", R"({"server.type": "FTP")");
    EXPECT_EQ(makeModel()->serverType(), ServerType::http);
    EXPECT_TRUE(fs::exists(settings_ + ".unreadable"));
    fs::remove_all(folder_.path("config"));

    const int status = inChild([this] {
        const auto model = makeModel();
        model->setServerType(ServerType::ftp);
        model->setPassword("secret");
        return raise(SIGKILL);
    });
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(makeModel()->serverType(), ServerType::ftp);
    EXPECT_EQ(makeModel()->password(), "secret");
    EXPECT_EQ(fs::status(settings_).permissions(), fs::perms{0600});
    EXPECT_EQ(fs::status(fs::path(settings_).parent_path()).permissions(), fs::perms{0700});
}

TEST_F(RealityTest, ServesStopsAndServesAgainOnTheSamePort) {
    const std::pair<ServerType, std::string> answers[] = {
        {ServerType::http, "HTTP/1.1 404 Not Found\r\n"},
        {ServerType::ftp, "220 Quorvel FTP ready.\r\n"},
    };
    const auto port = test::freePort();
    for (int round = 0; round < 2; ++round) {
        for (const auto& [type, firstLine] : answers) {
            const auto model = started(type, port);
            ASSERT_EQ(model->state(), State{State::Case::running}) << model->statusText();
            test::SocketClient client(port);
            if (type == ServerType::http) client.send("GET /missing HTTP/1.1\r\n\r\n");
            EXPECT_EQ(client.receiveUntil("\r\n"), firstLine);
            EXPECT_EQ(started(type, port)->statusText(), "Error: That port is already in use.");
            model->stop();
        }
    }
}

TEST_F(RealityTest, APrivilegedPortIsRefusedToAnOrdinaryUser) {
    constexpr int everybodyMay = 77;
    fs::permissions(folder_.path(), fs::perms{0755});
    const int status = inChild([this] {
        // Where it may be made, a network of its own has the kernel's default for low ports.
        unshare(CLONE_NEWNET);
        if (getuid() == 0 && (setgroups(0, nullptr) != 0 || setgid(65534) != 0)) return 1;
        if (getuid() == 0 && setuid(65534) != 0) return 1;
        int firstOpenPort = 0;
        std::ifstream("/proc/sys/net/ipv4/ip_unprivileged_port_start") >> firstOpenPort;
        if (firstOpenPort <= 80) return everybodyMay;
        const auto model = started(ServerType::http, 80);
        return model->infoText() == "Error: Permission denied — try a port above 1024." ? 0 : 1;
    });
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == everybodyMay) GTEST_SKIP() << "Everybody may use port 80 here.";
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

} // namespace

} // namespace quorvel::model
