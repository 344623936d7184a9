/* A library that lacks a symbol: it cannot be loaded with immediate binding. */
int symbolThatNobodyDefines(void);
int unresolvedAnswer(void);
int unresolvedAnswer(void) { return symbolThatNobodyDefines(); }
