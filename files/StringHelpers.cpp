#include "files/StringHelpers.h"
