// A program that waits for its end, for the tests of running processes.
#include <unistd.h>

int main() { return pause(); }
