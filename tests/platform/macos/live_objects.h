#pragma once

namespace blindfold {

/// Starts counting the objects that Foundation allocates.
void countObjects();

/// How many objects are alive of those allocated since `countObjects`.
int liveObjects();

/// How many references to heap blocks this program holds: copies less releases.
long liveBlocks();

}  // namespace blindfold
