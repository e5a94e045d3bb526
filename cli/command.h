#pragma once

#include <QStringList>
#include <QTextStream>

#include <vector>

namespace cli {

// Exit statuses, the same for every command, so that scripts can tell the three cases apart.
enum Exit : int
{
    Success = 0,
    Problems = 1, // the command ran and found problems, or the service did not answer usefully
    Usage = 2, // bad arguments or unreadable input
};

// Results go to out, errors to err; nothing else is printed.
struct Io
{
    QTextStream& out;
    QTextStream& err;
};

struct Command
{
    const char* name;
    const char* arguments; // shown after the name in the usage text
    const char* summary;
    int (*run)(const QStringList& arguments, Io& io);
};

// The commands of each subsystem; main.cpp lists them all.
std::vector<Command> storeCommands();
std::vector<Command> quoteCommands();
std::vector<Command> downloadCommands();
std::vector<Command> adjustCommands();
std::vector<Command> convertCommands();
std::vector<Command> findCommands();
std::vector<Command> sourceCommands();

} // namespace cli
