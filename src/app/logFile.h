#pragma once

/// Sends all Qt log output to the file that the environment variable TUNESIFTLOGFILE names, if it is set:
/// each message on a line of its own that ends in "\r\n". The file is opened anew for every message, and a
/// message that cannot be written is lost in silence; with an empty name all are. Called once, before any
/// other thread exists.
void installLogFile();
