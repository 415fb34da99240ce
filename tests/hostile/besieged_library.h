#pragma once

// The library that the hostile tests download.

#include "support/sample_library.h"

namespace TestSupport {

/// Seven files, two of them in directories, one lossy, one under the rule "missing".
SampleLibrary besiegedLibrary();

/// What the server has now and the directory ought to equal: `expected`, but that what stands under
/// the rule "missing" counts as it stands.
Tree allowed(const SampleLibrary& library, const Tree& actual);

}  // namespace TestSupport
