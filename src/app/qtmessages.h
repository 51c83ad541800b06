#pragma once

// Sends Qt's own messages into the log; a fatal one aborts after logging.
void InstallQtMessageHandler();
