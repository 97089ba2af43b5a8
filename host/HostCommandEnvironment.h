#pragma once

#include <QString>

// The bench's host commands, beside the bench's own program.
QString hostCommandsFolder();

// The socket the commands report to, in a folder only this user may enter.
QString hostCommandSocketPath(const QString& socketFolder);

// Sets this process's environment for every command started from now on: commandsFolder first
// on PATH, and the bench's socket at socketPath named in ORVANE_BENCH_JOURNAL.
void exportHostCommandEnvironment(const QString& commandsFolder, const QString& socketPath);
