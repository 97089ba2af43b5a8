#pragma once

#include <QStringList>
#include <QVector>

// One line of a bench script: its command, arguments and the touch timing it asks for.
struct ScriptCommand {
    int line = 0;
    QString name;
    QStringList args;
    // How long a tap holds the finger down, or a drag takes ("hold MS", "over MS").
    int durationMs = 0;
};

// How long a finger rests on the glass for a tap, and how long a drag takes, unless told.
constexpr int DefaultTapHoldMs = 80;
constexpr int DefaultDragMs = 300;

// Reads a whole script and checks every line before anything runs, so a typo on the last line
// costs nothing: commands and their arguments, the data values named, and that presses and
// releases pair up. False with "FILE:LINE: reason" on the first bad line.
bool parseScript(const QString& text, const QString& fileName, QVector<ScriptCommand>* commands, QString* error);

// The script commands, as --help lists them.
QString scriptCommandHelp();

// Expectations: with --keep-going a failed one is reported and the script goes on.
bool isExpectation(const ScriptCommand& command);

// A script's numbers are whole: coordinates, counts, milliseconds.
bool isWholeNumber(const QString& text, bool allowNegative = true);

// Labels are written on one line: "IN\nSERVICE" names a two-line label.
QString labelArgument(const QString& text);

// Cuts what a user typed to a length fit for a message.
QString quoted(const QString& text);
