#include "files/FileManagerExtension.h"
