#include "files/InstalledPaths.h"
