#pragma once

// The whole program; its result is the exit status.
int qbMain(int argc, char** argv);
