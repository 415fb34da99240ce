#pragma once

// A directory to publish and what came of it, for the tests of publishing.

#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/value.h>

#include <sstream>
#include <string>
#include <vector>

#include "publishing.h"
#include "support/temp_directory.h"

namespace KivHost {

class Publishing : public testing::Test {
protected:
    PublishResult publishWith(PublishRequest request = {}, FileRules rules = FileRules("always")) {
        request.directory = tree.path();
        warnings.clear();
        return publish(request, rules, [this](const std::string& w) { warnings.push_back(w); });
    }

    Json::Value list(const std::string& name = "filelist.json") const {
        Json::Value root;
        std::istringstream text(tree.read(name));
        text >> root;
        return root;
    }

    std::vector<std::string> listedNames() const {
        std::vector<std::string> names;
        for (const Json::Value& entry : list()) {
            names.push_back(entry["path"].asString());
        }
        return names;
    }

    TestSupport::TempDirectory tree;
    std::vector<std::string> warnings;
};

}  // namespace KivHost
