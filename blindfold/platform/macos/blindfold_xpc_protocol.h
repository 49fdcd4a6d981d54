#pragma once

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

/// Receives the reply's bytes, or nil for a reply without data.
using BlindfoldReply = void (^)(NSData* _Nullable reply);

/// The protocol that the helper implements, as the compiler and the connection need it; its rows
/// for the rest of this program are `helperProtocol`. The connection reads the types of arguments
/// and replies from the metadata of this declaration.
@protocol BlindfoldXPCProtocol

- (void)beginPresence:(BlindfoldReply)reply;
- (void)installStatus:(BlindfoldReply)reply;
- (void)detectTargets:(BlindfoldReply)reply;
- (void)hold:(NSData*)request withReply:(BlindfoldReply)reply;
- (void)renew:(NSString*)leaseIdentifier withReply:(BlindfoldReply)reply;
- (void)release:(nullable NSString*)leaseIdentifier withReply:(BlindfoldReply)reply;
- (void)restoreAll:(BlindfoldReply)reply;
- (void)muteMic:(BlindfoldReply)reply;
- (void)unmuteMic:(BlindfoldReply)reply;
- (void)currentState:(BlindfoldReply)reply;

@end

NS_ASSUME_NONNULL_END
