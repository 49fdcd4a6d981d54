#pragma once

#import <Foundation/Foundation.h>

/// Takes the reply's bytes, or nil.
using BlindfoldReply = void (^)(NSData* reply);

/// The helper's protocol as the platform's connection needs it: `helperProtocol` in Objective-C.
/// The connection reads the types of arguments and replies from the metadata that the compiler
/// makes of this declaration.
@protocol BlindfoldXPCProtocol

- (void)beginPresence:(BlindfoldReply)reply;
- (void)installStatus:(BlindfoldReply)reply;
- (void)detectTargets:(BlindfoldReply)reply;
- (void)hold:(NSData*)request withReply:(BlindfoldReply)reply;
- (void)renew:(NSString*)leaseIdentifier withReply:(BlindfoldReply)reply;
- (void)release:(NSString*)leaseIdentifier withReply:(BlindfoldReply)reply;
- (void)restoreAll:(BlindfoldReply)reply;
- (void)muteMic:(BlindfoldReply)reply;
- (void)unmuteMic:(BlindfoldReply)reply;
- (void)currentState:(BlindfoldReply)reply;

@end
