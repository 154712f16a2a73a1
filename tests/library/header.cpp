// The same as C++.
#include "library/header.c"
