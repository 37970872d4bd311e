/* A module that remembers how often it was asked for as long as it stays in memory. */
int count(void);

static int calls;

int count(void) { return ++calls; }
