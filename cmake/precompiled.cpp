// CMake requires a source file for a library.
