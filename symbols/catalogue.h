#pragma once

// The catalogue text that the build turns into table "symbols", and the making of a fresh symbol database
// from it. Used by the build's generator and by tests; the program itself never creates the database.
//
// Catalogue format (UTF-8): one security per line as "SYMBOL | Security name", under a heading line
// "[Exchange name]" that applies until the next heading. Blank lines and lines starting with "#" are
// skipped. Blanks around the fields do not count.

#include "symbolsdb.h"

#include <stdexcept>
#include <vector>

namespace symbols {

// Thrown for a catalogue line that does not fit the format; the text names the line number.
class CatalogueError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// The entries in file order. Throws CatalogueError for an entry before any heading, a line without
// exactly one "|", an empty symbol or name, a symbol holding blanks, or a symbol listed twice under one
// exchange.
std::vector<CatalogueEntry> parseCatalogue(const QString& text);

// Creates a new database file with the connect text's password: tables "symbols", "sys" and "settings",
// the entries, and the one settings row (s1 = 0, s2 = 1). Text columns compare without regard to case,
// as the file format the program grew up with did. The file must not exist yet. Throws DatabaseError.
void createDatabase(const QString& fileName, const QString& connect, const std::vector<CatalogueEntry>& entries);

} // namespace symbols
