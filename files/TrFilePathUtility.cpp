#include "files/TrFilePathUtility.h"
