#pragma once

// Plays the show that this executable carries, from its cabinets to its end, and closes the engine. 0, or -1
// after a message. The directories that it unpacks are gone when it returns, but for one that a failed setup
// step or failed shaders leave; that one goes with the process.
int qbStandaloneRun();
