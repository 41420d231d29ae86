#pragma once

#include <dictionary.h>
#include <iniparser.h>

// iniparser_load with its lines taken through the file layer. Null when the file does not open, holds a
// syntax error or more than 32768 lines, which is printed on the error stream with the file's name and, for
// the error, line number and text; and after a message when it can not be read to its end or memory runs out.
// The caller frees the result with iniparser_freedict.
dictionary* qbIniLoad(const char* name);
