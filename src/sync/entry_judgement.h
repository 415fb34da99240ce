#pragma once

// Whether the local path that a list entry leads to may be written. For list parsing and fuzzing.

#include <cstdint>

/// Where a list entry leads.
enum class EntryVerdict : std::uint8_t {
    /// Below the target directory, or the directory itself, which then fails in its save.
    Inside,
    /// Out of the target directory.
    Leaves,
    /// To the local stamp, which is written last and by nothing else.
    Stamp,
    /// Inside, but Windows would take it elsewhere: a colon (a stream or a drive),
    /// a device's name with or without an extension, a segment that ends in a dot or a blank.
    TakenElsewhere,
    /// Nowhere: the name was refused when its address was built, and its save fails.
    Unusable,
};

/// Judges the finished local path of an entry; pure.
///
/// `directory` is the target directory as an entry with the empty name has it, `stampPath` the
/// local stamp's path; all three went through the same normalisation and have "/" as their
/// separator. With `anyCase` the stamp is known whatever the case of its letters. The verdict is
/// the same on every system; whether `TakenElsewhere` matters is for the caller, who knows where
/// the file will lie.
EntryVerdict judgeEntry(const char* directory, const char* stampPath, const char* localPath,
                        bool anyCase);
