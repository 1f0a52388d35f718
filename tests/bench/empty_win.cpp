// The least that a program of this toolchain costs.
int wmain() { return 0; }
