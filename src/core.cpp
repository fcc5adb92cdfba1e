#include "core.h"

Core* p = nullptr;
