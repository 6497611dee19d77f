#pragma once

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>

// What the plug-in uses of the agent application that loads it: declarations only. The application
// is the delegate of the application object.

/// A notice to the user.
@protocol KQHostNotification <NSObject>
- (void)setText:(NSString*)text;
- (void)setIcon:(NSImage*)icon;
/// Receives the actions of the buttons. Not retained; valid as long as the agent.
- (void)setTarget:(id)target;
/// In seconds.
- (void)setLiveTime:(NSTimeInterval)seconds;
- (void)setUserInfo:(id)userInfo;
- (void)setButton1Text:(NSString*)text;
/// Sent to the target, without an argument, when button 1 is pressed.
- (void)setButton1Action:(SEL)action;
/// Text of the button that only closes the notice.
- (void)setButton2Text:(NSString*)text;
@end

/// The delegate of the application object. Any thread unless it says otherwise.
@protocol KQHostAgentApplication <NSObject>
/// Returns a new notice with the application's defaults.
- (id<KQHostNotification>)notificationInstance;
- (void)showNotification:(id<KQHostNotification>)notification;
/// Returns the path of the host product's application bundle; nil if it is unknown.
- (NSString*)hostAppPath;
/// Launches the host product or brings it to the front.
- (void)activateHostApp;
/// Returns a proxy of the host product's object with this id and protocol; nil if there is none.
/// Main thread.
- (id)hostAppProxyWithTargetId:(NSString*)targetId protocol:(Protocol*)protocol;
/// Returns the instance of another loaded agent by its class name; nil if there is none.
- (id)instanceWithClassName:(NSString*)name;
@end

/// The object of the host product behind such a proxy.
@protocol KQHostAppProxy
/// Shows the Revwarden window. Main thread.
- (void)openRevwarden;
@end

/// Another agent, which watches for removed applications.
@protocol KQUninstallerAgent <NSObject>
/// Tells it to ignore the next removal of the application with this identifier. Main thread.
- (void)addSilentRemoveBundleID:(NSString*)bundleID;
@end
