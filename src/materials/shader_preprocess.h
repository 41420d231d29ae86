#pragma once

// Conditional lines of a shader:
//
//   //QUAB_PP:D:NAME:live when NAME is defined
//   //QUAB_PP:U:NAME:live when NAME is not defined
//
// Uncovers them in place, by blanks over the marker and the condition: length and line numbers stay.
// `defines` ends with a null entry; null covers nothing and uncovers nothing. 0, or -1 after a trace line
// when a marker is not followed by a condition.
int shaderPreprocess(char* text, const char* const* defines);
