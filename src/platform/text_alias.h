#pragma once

// A text in memory under a file name, for libraries that open their input by themselves.
struct QbTextAlias;

// A name under which `text` can be opened for reading until it is released. Null on failure.
QbTextAlias* qbTextAliasCreate(const char* text, unsigned length);
const char* qbTextAliasName(const QbTextAlias* alias);
void qbTextAliasFree(QbTextAlias* alias); // null is allowed
