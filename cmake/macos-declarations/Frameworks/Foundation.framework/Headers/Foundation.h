#pragma once

// What the macOS adapters use of Foundation, declared for the cross-build alone. Every line has its
// row in docs/macos.md.

#import <CoreFoundation/CoreFoundation.h>
#import <objc/NSObject.h>

@class NSData, NSError, NSString, NSURL, NSXPCInterface;

typedef NSUInteger NSStringEncoding;
typedef NSString* NSExceptionName;
typedef NSString* NSFileAttributeKey;
typedef NSString* NSFileAttributeType;
typedef NSUInteger NSXPCConnectionOptions;

enum : NSStringEncoding { NSUTF8StringEncoding = 4 };
enum : NSXPCConnectionOptions { NSXPCConnectionPrivileged = 1 << 12 };

#ifdef __cplusplus
extern "C" {
#endif

extern NSFileAttributeKey const NSFileType;
extern NSFileAttributeKey const NSFilePosixPermissions;
extern NSFileAttributeType const NSFileTypeDirectory;
extern NSFileAttributeType const NSFileTypeRegular;
extern NSFileAttributeType const NSFileTypeSymbolicLink;

#ifdef __cplusplus
}
#endif

@interface NSArray<__covariant ObjectType> : NSObject
@property(readonly) NSUInteger count;
- (ObjectType)objectAtIndex:(NSUInteger)index;
@end

@interface NSDictionary<__covariant KeyType, __covariant ObjectType> : NSObject
- (ObjectType)objectForKey:(KeyType)aKey;
@end

@interface NSString : NSObject
@property(readonly) NSUInteger length;
@property(readonly) const char* fileSystemRepresentation;
- (instancetype)initWithBytes:(const void*)bytes
                       length:(NSUInteger)len
                     encoding:(NSStringEncoding)encoding;
- (NSData*)dataUsingEncoding:(NSStringEncoding)encoding allowLossyConversion:(BOOL)lossy;
@end

@interface NSData : NSObject
@property(readonly) NSUInteger length;
@property(readonly) const void* bytes;
+ (instancetype)dataWithBytes:(const void*)bytes length:(NSUInteger)length;
@end

@interface NSNumber : NSObject
@property(readonly) unsigned long long unsignedLongLongValue;
@end

@interface NSURL : NSObject
@property(readonly, copy) NSString* path;
+ (NSURL*)fileURLWithPath:(NSString*)path isDirectory:(BOOL)isDir;
@end

@interface NSError : NSObject
@property(readonly, copy) NSString* localizedDescription;
@end

// Thrown and caught by its exported type.
__attribute__((objc_exception)) @interface NSException : NSObject
@property(readonly, copy) NSExceptionName name;
@property(readonly, copy) NSString* reason;
@end

@interface NSFileManager : NSObject
@property(class, readonly, strong) NSFileManager* defaultManager;
@property(readonly, copy) NSString* currentDirectoryPath;
- (NSString*)stringWithFileSystemRepresentation:(const char*)str length:(NSUInteger)len;
- (BOOL)isExecutableFileAtPath:(NSString*)path;
- (NSDictionary<NSFileAttributeKey, id>*)attributesOfItemAtPath:(NSString*)path
                                                          error:(NSError**)error;
@end

@interface NSBundle : NSObject
@property(class, readonly, strong) NSBundle* mainBundle;
@property(readonly, copy) NSURL* bundleURL;
@property(readonly, copy) NSString* bundleIdentifier;
@property(readonly, copy) NSURL* executableURL;
- (instancetype)initWithURL:(NSURL*)url;
- (id)objectForInfoDictionaryKey:(NSString*)key;
@end

@interface NSXPCInterface : NSObject
+ (NSXPCInterface*)interfaceWithProtocol:(Protocol*)protocol;
@end

@interface NSXPCConnection : NSObject
@property(retain) NSXPCInterface* remoteObjectInterface;
@property(copy) void (^interruptionHandler)(void);
@property(copy) void (^invalidationHandler)(void);
- (instancetype)initWithMachServiceName:(NSString*)name options:(NSXPCConnectionOptions)options;
- (id)remoteObjectProxyWithErrorHandler:(void (^)(NSError* error))handler;
- (void)resume;
- (void)invalidate;
@end
