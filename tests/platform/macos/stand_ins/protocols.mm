#import <Foundation/Foundation.h>

// With GCC's runtime, clang hands a file's protocols to the runtime as a category of a class of
// this name. GCC's runtime makes no such class; without it `@protocol(...)` is not a protocol
// there.
@interface __ObjC_Protocol_Holder_Ugly_Hack : NSObject
@end

@implementation __ObjC_Protocol_Holder_Ugly_Hack
@end
