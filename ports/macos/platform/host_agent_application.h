#pragma once

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>

// The agent application that loads the plug-in, and what it lends: declarations only. It is reached
// as the delegate of the application object.

/// A notice to the user.
@protocol KQHostNotification <NSObject>
- (void)setText:(NSString*)text;
- (void)setIcon:(NSImage*)icon;
/// Receives the buttons' actions. Not retained; it is valid as long as the agent.
- (void)setTarget:(id)target;
/// In seconds.
- (void)setLiveTime:(NSTimeInterval)seconds;
- (void)setUserInfo:(id)userInfo;
- (void)setButton1Text:(NSString*)text;
/// Sent to the target, without an argument, when button 1 is pressed.
- (void)setButton1Action:(SEL)action;
/// This button only closes the notice.
- (void)setButton2Text:(NSString*)text;
@end

/// The delegate of the application object. Any thread unless it says otherwise.
@protocol KQHostAgentApplication <NSObject>
/// A new notice with the application's defaults.
- (id<KQHostNotification>)notificationInstance;
- (void)showNotification:(id<KQHostNotification>)notification;
/// The path of the host product's application bundle; nil when it is not known.
- (NSString*)hostAppPath;
/// Launches the host product or brings it to the front.
- (void)activateHostApp;
/// The object of the host product behind a target id that understands the protocol; nil when there
/// is none. Main thread.
- (id)hostAppProxyWithTargetId:(NSString*)targetId protocol:(Protocol*)protocol;
/// The running instance of another loaded agent by its class name; nil when there is none.
- (id)instanceWithClassName:(NSString*)name;
@end

/// What the agent sends to the host product through such an object.
@protocol KQHostAppProxy
/// Shows the Revwarden window. Main thread.
- (void)openRevwarden;
@end

/// Another agent, the one that watches for removed applications.
@protocol KQUninstallerAgent <NSObject>
/// Not to react to the coming removal of the application with this identifier. Main thread.
- (void)addSilentRemoveBundleID:(NSString*)bundleID;
@end
