// SPDX-License-Identifier: Apache-2.0
#pragma once

/// \file
/// All of KestovaFoundation.

#include <KestovaFoundation/Additions/NSArrayAdditions.h>
#include <KestovaFoundation/Additions/NSDataAdditions.h>
#include <KestovaFoundation/Additions/NSErrorAdditions.h>
#include <KestovaFoundation/Additions/NSGeometryAdditions.h>
#include <KestovaFoundation/Additions/NSMutableDataAdditions.h>
#include <KestovaFoundation/Additions/NSScannerAdditions.h>
#include <KestovaFoundation/Additions/NSStringCodecAdditions.h>
#include <KestovaFoundation/Additions/NSStringEditing.h>
#include <KestovaFoundation/Additions/NSStringEncodingStuff.h>
#include <KestovaFoundation/Additions/NSStringExtraPathUtilities.h>
#include <KestovaFoundation/Additions/NSStringIdentifiers.h>
#include <KestovaFoundation/Additions/NSStringSearching.h>
#include <KestovaFoundation/Additions/NSStringWordLineCounter.h>
#include <KestovaFoundation/Additions/NSURLConnectionAdditions.h>
#include <KestovaFoundation/Export.h>
#include <KestovaFoundation/GCDCoalescer.h>
#include <KestovaFoundation/GCDKeyedCoalescer.h>
#include <KestovaFoundation/OSXCrashReporterInfo.h>
#include <KestovaFoundation/OSXVersion.h>
#include <KestovaFoundation/OVBinaryDataStream.h>
#include <KestovaFoundation/OVBinaryFileStream.h>
#include <KestovaFoundation/OVBinaryStream.h>
#include <KestovaFoundation/OVCache.h>
#include <KestovaFoundation/OVCacheExpiryPolicy.h>
#include <KestovaFoundation/OVCacheGenerator.h>
#include <KestovaFoundation/OVCacheItem.h>
#include <KestovaFoundation/OVCacheLRUExpiryPolicy.h>
#include <KestovaFoundation/OVEnqueueCoalescedBlock.h>
#include <KestovaFoundation/OVFileOperation.h>
#include <KestovaFoundation/OVFlattenedArray.h>
#include <KestovaFoundation/OVGenerateAndProcess.h>
#include <KestovaFoundation/OVMutableCaseInsensitiveKeyPathDictionary.h>
#include <KestovaFoundation/OVMutableCaseInsensitiveStringDictionary.h>
#include <KestovaFoundation/OVMutableKeyPathDictionary.h>
#include <KestovaFoundation/OVNSErrorBuilder.h>
#include <KestovaFoundation/OVRollingSampler.h>
#include <KestovaFoundation/OVStringEncodingGuess.h>
#include <KestovaFoundation/OVThreadSafeMutableSet.h>
#include <KestovaFoundation/OVThreadSafeQueue.h>
#include <KestovaFoundation/OVThrottlingDispatcher.h>
#include <KestovaFoundation/OVUtilities.h>
