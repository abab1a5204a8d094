#include "include/sqlengine.h"
