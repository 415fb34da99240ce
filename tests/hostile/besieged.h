#pragma once

// The ground of the hostile tests: a server, a target that stands in a directory of its own, and
// what has to hold after each run, however it went.

#include <functional>
#include <string>

#include "hostile/besieged_library.h"
#include "support/downloader_fixture.h"

namespace TestSupport {

struct Besieged : Downloading {
    explicit Besieged(SampleLibrary contents = besiegedLibrary());

    /// Everything as a sound server has it; takes all broken handlers away.
    void serveSoundly();

    Tree tree() const { return readTree(target.path() / "inside"); }
    /// "" while there is none.
    std::string stampOnDisk() const;

    /// One line for each promise that is broken now: something lies outside the target, or the
    /// stamp equals the remote one beside an incomplete tree.
    Lines brokenPromises() const;

    /// Whether the last run told the host of a failure.
    bool toldFailure() const;

    /// A new stamp, a sound server, a new downloader: the run has to succeed with an equal tree.
    void expectHealing();

    SampleLibrary library;
};

/// A run that makes what a process makes once and keeps: libcurl's own, and the C library's.
void warmUp();

/// Runs `body` and expects that it leaves neither descriptor nor thread behind.
void expectNothingLeftOver(const std::function<void()>& body);

}  // namespace TestSupport
