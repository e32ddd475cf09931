// Carries the precompiled header; see TunesiftTargets.cmake.
