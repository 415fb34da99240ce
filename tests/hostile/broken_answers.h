#pragma once

// Every way in which an answer can be broken, with what a run makes of it. Data for the test beside
// it.

#include <functional>
#include <string>
#include <vector>

#include "support/server_scripts.h"

namespace TestSupport {

struct BrokenAnswer {
    enum class Outcome {
        /// The request fails with `cause`.
        Fails,
        /// Nothing is wrong as far as anyone can see: `delivered` tells what arrives.
        Arrives,
        /// It would go on for ever, and ends when the host wants it.
        EndsByAbort,
        /// It ends by the time limit.
        EndsByTimeLimit,
    };

    const char* name;
    Outcome outcome;
    /// How the message of the chain's last node begins.
    std::string cause;
    /// The handler that breaks the answer with this body.
    std::function<Handler(const std::string& body)> script;
    /// What of the body arrives, for `Arrives`.
    std::function<std::string(const std::string& body)> delivered = {};
};

const std::vector<BrokenAnswer>& brokenAnswers();

}  // namespace TestSupport
