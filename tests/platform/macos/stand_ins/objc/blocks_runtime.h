#pragma once

// GNUstep's headers look for the blocks runtime under this name.
#include <Block.h>
