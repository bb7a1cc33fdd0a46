#pragma once

#include "support/ModelFakes.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualMainQueue.h"

#include "model/MemorySettingsStore.h"
#include "model/ServerModel.h"

#include <gtest/gtest.h>

namespace quorvel::model {

/// A model among fakes. The LAN address and what the servers do are set by the test.
class ModelFixture : public testing::Test {
  protected:
    std::shared_ptr<ServerModel> makeModel(MemorySettingsStore::Values stored = {}) {
        store_ = std::make_shared<MemorySettingsStore>(std::move(stored));
        Services services;
        services.mainQueue = queue_;
        services.defaults = store_;
        services.folderChooser = chooser_;
        services.makeServer = servers_.factory();
        services.localIPv4Address = [this] { return lanAddress_; };
        return ServerModel::create(std::move(services));
    }

    /// A model with all that a start needs.
    std::shared_ptr<ServerModel> makeStartable() {
        auto model = makeModel();
        model->setPort(8080);
        model->setFolderPath(folder_.path());
        return model;
    }

    const test::TemporaryFolder folder_;
    std::optional<std::string> lanAddress_ = "192.168.1.20";
    test::FakeServers servers_;
    const std::shared_ptr<test::VirtualMainQueue> queue_ =
        std::make_shared<test::VirtualMainQueue>();
    const std::shared_ptr<test::FakeFolderChooser> chooser_ =
        std::make_shared<test::FakeFolderChooser>();
    std::shared_ptr<MemorySettingsStore> store_;
};

} // namespace quorvel::model
