#pragma once

// GNUstep's Foundation, and the declarations of the system's that it leaves out.
#include_next <Foundation/Foundation.h>

@interface NSXPCConnection (SystemDeclarations)
- (void)setExportedInterface:(NSXPCInterface*)interface;
- (void)setExportedObject:(id)object;
@end
