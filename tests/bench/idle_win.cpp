// An empty program that stays until somebody presses a key, as the launcher does at its end.
#include <cstdio>

int wmain() { return std::getchar() == '!' ? 1 : 0; }
