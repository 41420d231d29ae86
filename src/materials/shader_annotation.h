#pragma once

struct QbIrrShader;

// Reads the annotation block of `text` into the record and prints the words of each line. `highLevel` is set
// already; `name` is the file, for messages; `isPixelFile` tells the two files of an assembler pair apart.
//
// A statement that can not be read is left out and never fails the shader. What exceeds a limit of the record
// is refused with a message; a file shows one such message, the others go to the trace. Always 0.
int parseShaderFile(QbIrrShader* shader, const char* name, const char* text, bool isPixelFile);

// Reads the texture statements alone, and prints nothing but a refused one.
void qbShaderParseTextures(QbIrrShader* shader, const char* name, const char* text);
