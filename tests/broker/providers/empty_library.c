/* A shared library that is not a provider library. */
int emptyLibraryAnswer(void);
int emptyLibraryAnswer(void) { return 42; }
