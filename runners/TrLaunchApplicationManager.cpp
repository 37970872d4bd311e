#include "runners/TrLaunchApplicationManager.h"
