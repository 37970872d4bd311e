#include "files/TrImageLoadManager.h"
