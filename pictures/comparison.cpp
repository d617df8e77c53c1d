#include "pictures/comparison.h"
