#include "files/KeyedText.h"
