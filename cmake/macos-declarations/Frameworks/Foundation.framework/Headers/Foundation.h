#pragma once

// The part of Foundation that the macOS adapters use, declared for the cross-build alone and annotated as the
// system's own headers are. Every line has its row in docs/macos.md.

#import <CoreFoundation/CoreFoundation.h>
#import <objc/NSObject.h>

#define NS_ASSUME_NONNULL_BEGIN _Pragma("clang assume_nonnull begin")
#define NS_ASSUME_NONNULL_END _Pragma("clang assume_nonnull end")
#define NS_RETURNS_INNER_POINTER __attribute__((objc_returns_inner_pointer))
#define NS_TYPED_EXTENSIBLE_ENUM __attribute__((swift_wrapper(struct)))

NS_ASSUME_NONNULL_BEGIN

@class NSData, NSError, NSString, NSURL, NSXPCInterface;

typedef NSUInteger NSStringEncoding;
typedef NSString* NSExceptionName NS_TYPED_EXTENSIBLE_ENUM;
typedef NSString* NSFileAttributeKey NS_TYPED_EXTENSIBLE_ENUM;
typedef NSString* NSFileAttributeType NS_TYPED_EXTENSIBLE_ENUM;
typedef NSUInteger NSXPCConnectionOptions API_AVAILABLE(macos(10.8));

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
- (nullable ObjectType)objectForKey:(KeyType)aKey;
@end

@interface NSString : NSObject
@property(readonly) NSUInteger length;
- (nullable instancetype)initWithBytes:(const void*)bytes
                       length:(NSUInteger)len
                     encoding:(NSStringEncoding)encoding;
- (nullable NSData*)dataUsingEncoding:(NSStringEncoding)encoding allowLossyConversion:(BOOL)lossy;
@end

@interface NSData : NSObject
@property(readonly) NSUInteger length;
@property(readonly) const void* bytes NS_RETURNS_INNER_POINTER;
+ (instancetype)dataWithBytes:(nullable const void*)bytes length:(NSUInteger)length;
@end

@interface NSNumber : NSObject
@property(readonly) unsigned long long unsignedLongLongValue;
@end

@interface NSURL : NSObject
@property(nullable, readonly, copy) NSString* path;
+ (NSURL*)fileURLWithPath:(NSString*)path isDirectory:(BOOL)isDir API_AVAILABLE(macos(10.5));
@end

@interface NSError : NSObject
@property(readonly, copy) NSString* localizedDescription;
@end

// Thrown and caught by its exported type.
__attribute__((objc_exception)) @interface NSException : NSObject
@property(readonly, copy) NSExceptionName name;
@property(nullable, readonly, copy) NSString* reason;
@end

@interface NSFileManager : NSObject
@property(class, readonly, strong) NSFileManager* defaultManager;
@property(readonly, copy) NSString* currentDirectoryPath;
- (BOOL)isExecutableFileAtPath:(NSString*)path;
- (nullable NSDictionary<NSFileAttributeKey, id>*)attributesOfItemAtPath:(NSString*)path
                                                          error:(NSError**)error API_AVAILABLE(macos(10.5));
@end

@interface NSBundle : NSObject
@property(class, readonly, strong) NSBundle* mainBundle;
@property(readonly, copy) NSURL* bundleURL API_AVAILABLE(macos(10.6));
@property(nullable, readonly, copy) NSString* bundleIdentifier;
@property(nullable, readonly, copy) NSURL* executableURL API_AVAILABLE(macos(10.6));
- (nullable instancetype)initWithURL:(NSURL*)url API_AVAILABLE(macos(10.6));
- (nullable id)objectForInfoDictionaryKey:(NSString*)key;
@end

API_AVAILABLE(macos(10.8)) @interface NSXPCInterface : NSObject
+ (NSXPCInterface*)interfaceWithProtocol:(Protocol*)protocol;
@end

API_AVAILABLE(macos(10.8)) @interface NSXPCConnection : NSObject
@property(nullable, retain) NSXPCInterface* exportedInterface;
@property(nullable, retain) id exportedObject;
@property(nullable, retain) NSXPCInterface* remoteObjectInterface;
@property(nullable, copy) void (^interruptionHandler)(void);
@property(nullable, copy) void (^invalidationHandler)(void);
- (instancetype)initWithMachServiceName:(NSString*)name options:(NSXPCConnectionOptions)options API_UNAVAILABLE(ios, watchos, tvos);
- (id)remoteObjectProxyWithErrorHandler:(void (^)(NSError* error))handler;
- (void)resume;
- (void)invalidate;
@end

@class NSXPCListener;

@protocol NSXPCListenerDelegate <NSObject>
@optional
- (BOOL)listener:(NSXPCListener*)listener shouldAcceptNewConnection:(NSXPCConnection*)newConnection;
@end

API_AVAILABLE(macos(10.8)) @interface NSXPCListener : NSObject
@property(nullable, weak) id<NSXPCListenerDelegate> delegate;
- (instancetype)initWithMachServiceName:(NSString*)name NS_DESIGNATED_INITIALIZER API_UNAVAILABLE(ios, watchos, tvos);
- (void)resume;
- (void)invalidate;
@end

NS_ASSUME_NONNULL_END
