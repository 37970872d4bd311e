#include "files/PxIniParser.h"
