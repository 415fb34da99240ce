#pragma once

// Every way in which an answer can be broken, with what a run makes of it. Data for tests.

#include <functional>
#include <string>
#include <vector>

#include "support/server_scripts.h"

namespace TestSupport {

struct BrokenAnswer {
    enum class Outcome {
        /// The request fails with `cause`.
        Fails,
        /// Nothing is wrong as far as anyone can see: `delivered` tells what of the body arrives.
        Arrives,
        /// It would go on for ever, and ends when the host wants it.
        EndsByAbort,
        EndsByTimeLimit,
    };

    const char* name;
    Outcome outcome;
    /// How the message of the chain's last node begins.
    std::string cause;
    /// The handler that breaks the answer with this body.
    std::function<Handler(const std::string& body)> script;
    std::function<std::string(const std::string& body)> delivered = {};
};

const std::vector<BrokenAnswer>& brokenAnswers();

}  // namespace TestSupport
