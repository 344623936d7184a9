/* A shared library that is no provider library. */
int emptyLibraryAnswer(void);
int emptyLibraryAnswer(void) { return 42; }
