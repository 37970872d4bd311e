#include "agent/PSlog.h"
