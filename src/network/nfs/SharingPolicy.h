#pragma once

/// How much of the disk, and what, a serving device lets others do. All off: everything that a path can lead
/// to from a mounted directory, for reading and writing.
struct SharingPolicy {
    /// A path that leaves every mounted directory, by ".." or by a symbolic link, leads to nothing.
    bool confined = false;

    /// Files are only read. What would create, change or remove one fails.
    bool readOnly = false;

    /// Where no file has the name that the character map gives, one with the very name that was asked for
    /// will do.
    bool plainNames = false;
};
