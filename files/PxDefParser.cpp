#include "files/PxDefParser.h"
