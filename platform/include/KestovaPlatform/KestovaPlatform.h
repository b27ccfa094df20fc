// SPDX-License-Identifier: Apache-2.0
#pragma once

/// \file
/// All of KestovaPlatform.

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Clock.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/FSFileOperation.h>
#include <KestovaPlatform/FormatArgument.h>
#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/MacErrors.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSBeep.h>
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSCharacterSet.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSEnumerator.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSFileManager.h>
#include <KestovaPlatform/NSGeometry.h>
#include <KestovaPlatform/NSKeyValueObserving.h>
#include <KestovaPlatform/NSLog.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>
#include <KestovaPlatform/NSRange.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSSet.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSThread.h>
#include <KestovaPlatform/NSTimer.h>
#include <KestovaPlatform/NSTypes.h>
#include <KestovaPlatform/NSURL.h>
#include <KestovaPlatform/NSValue.h>
#include <KestovaPlatform/Ref.h>
#include <KestovaPlatform/RunLoopDescriptorSource.h>
#include <KestovaPlatform/RunLoopSource.h>
#include <KestovaPlatform/Selector.h>
#include <KestovaPlatform/UTF8.h>
