#pragma once

#include <dictionary.h>
#include <iniparser.h>

// iniparser_load with its lines taken through the file layer. Null when the file does not open or holds a
// syntax error, which is printed on the error stream with the file's name, line number and text.
// The caller frees the result with iniparser_freedict.
dictionary* qbIniLoad(const char* name);
