#include "ModelFixture.h"

#include "model/FolderBookmark.h"
#include "platform/files/SettingsFile.h"

namespace quorvel::model {

using Values = platform::SettingsStore::Values;
using Data = platform::SettingsStore::Data;
using SettingsTest = ModelFixture;

TEST_F(SettingsTest, ReadsWhatIsStoredAndDefaultsWhereItIsUnusable) {
    struct Case {
        Values stored;
        ServerType type;
        std::int64_t port;
        CopyFormat format = CopyFormat::networkLine;
    };
    using enum ServerType;
    using enum CopyFormat;
    const std::string type = "server.type";
    const std::string port = "server.port";
    const std::string format = "server.copyFormat";
    for (const auto& [stored, wantedType, wantedPort, wantedFormat] : std::initializer_list<Case>{
             {{}, http, 80},
             {{{type, "FTP"}, {format, "Network JSON"}}, ftp, 21, networkJSON},
             {{{type, "ftp"}, {format, "Local link"}}, http, 80, localLine},
             {{{type, 1}, {format, "Local JSON"}}, http, 80, localJSON},
             {{{type, "FTP"}, {port, 0}, {format, "local json"}}, ftp, 21},
             {{{type, "FTP"}, {port, -5}, {"server.useAuth", "true"}}, ftp, 21},
             {{{port, 70000}, {"server.username", 1}}, http, 70000},
             {{{port, "8080"}}, http, 8080},
             {{{port, "80x"}}, http, 80}}) {
        const auto model = makeModel(stored);
        EXPECT_EQ(model->serverType(), wantedType);
        EXPECT_EQ(model->port(), wantedPort);
        EXPECT_EQ(model->copyFormat(), wantedFormat);
        EXPECT_FALSE(model->useAuth());
        EXPECT_EQ(model->username() + model->password() + model->folderPath(), "");
        EXPECT_EQ(model->state(), State{});
        EXPECT_EQ(store_->values(), stored);
    }
}

TEST_F(SettingsTest, EverySetterStoresAndTellsAllObserversEvenWithoutAChange) {
    const auto model = makeModel();
    int first = 0;
    int second = 0;
    Subscription added;
    Subscription released = model->onChange([&] {
        added = model->onChange([&] { ++second; });
        released.reset();
    });
    const auto kept = model->onChange([&] { ++first; });
    const Values expected{{"server.type", "FTP"},       {"server.port", 21},
                          {"server.useAuth", true},     {"server.username", "bob"},
                          {"server.password", "p\"ss"}, {"server.copyFormat", "Local JSON"}};
    for (int round = 0; round < 2; ++round) {
        model->setPort(8080);
        model->setServerType(ServerType::ftp);
        model->setUseAuth(true);
        model->setUsername("bob");
        model->setPassword("p\"ss");
        model->setCopyFormat(CopyFormat::localJSON);
        model->setFolderPath("/not stored");
        EXPECT_EQ(store_->values(), expected);
        store_->set("server.username", "changed by another program");
    }
    EXPECT_EQ(first, 14);
    EXPECT_EQ(second, 13);
    model->setServerType(ServerType::http);
    EXPECT_EQ(store_->integer("server.port"), 80);

    const auto path = folder_.path("settings.json");
    for (const auto& [key, value] : expected)
        platform::SettingsFile(path).set(key, value);
    const auto restarted =
        ServerModel::create({.defaults = std::make_shared<platform::SettingsFile>(path)});
    EXPECT_EQ(restarted->serverType(), ServerType::ftp);
    EXPECT_EQ(restarted->port(), 21);
    EXPECT_TRUE(restarted->withLogin());
    EXPECT_EQ(restarted->username() + restarted->password(), "bobp\"ss");
}

TEST_F(SettingsTest, ChoosingAFolderStoresItAndCancellingChangesNothing) {
    const auto model = makeModel();
    model->chooseFolder();
    EXPECT_EQ(chooser_->shown, "Choose|Choose a folder to share.");
    EXPECT_TRUE(store_->values().empty());

    chooser_->choice = "/srv/F\xC3\xA4 \xFF";
    model->chooseFolder();
    EXPECT_EQ(model->folderPath(), chooser_->choice);
    EXPECT_EQ(store_->string("server.folderPath"), chooser_->choice);
    EXPECT_EQ(makeModel(store_->values())->resolveFolderURL(), chooser_->choice);

    // No bookmark can be made from this path, so the previous one stays.
    chooser_->choice = "relative";
    model->chooseFolder();
    EXPECT_EQ(model->folderPath(), "relative");
    EXPECT_EQ(model->resolveFolderURL(), "/srv/F\xC3\xA4 \xFF");
}

TEST_F(SettingsTest, TheBookmarkDecidesBeforeThePath) {
    const Data good = *makeBookmark("/gone");
    const Data cutShort(good.begin(), good.begin() + 4);
    Data otherVersion = good;
    otherVersion[3] = '2';
    Data withNul = good;
    withNul.push_back(0);
    struct Case {
        std::optional<Data> bookmark;
        std::string path;
        std::optional<std::string> resolved;
    };
    for (const auto& [bookmark, path, resolved] :
         {Case{good, "/other", "/gone"}, Case{good, "", "/gone"}, Case{cutShort, "/other", {}},
          Case{Data{}, "/other", {}}, Case{otherVersion, "/other", {}}, Case{withNul, "/other", {}},
          Case{{}, "/other", "/other"}, Case{{}, "", {}}}) {
        Values stored{{"server.folderPath", path}};
        if (bookmark) stored["server.folderBookmark"] = *bookmark;
        const auto model = makeModel(stored);
        EXPECT_EQ(model->resolveFolderURL(), resolved);
        EXPECT_EQ(model->folderPath(), path);
        EXPECT_EQ(store_->values(), stored);
    }
}

} // namespace quorvel::model
