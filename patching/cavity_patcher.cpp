#include "scanmesh/cavity_patcher.h"
