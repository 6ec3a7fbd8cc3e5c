#include "GNUstepDecoding.h"

#include <stdlib.h>

#import "../tests/gnustep/Records.h"

void decodeWithGNUstep(const void *bytes, size_t length) {
  NSAutoreleasePool *pool = [NSAutoreleasePool new];
  NSData *data = [NSData dataWithBytesNoCopy:(void *)bytes length:length freeWhenDone:NO];
  if ([NSKeyedUnarchiver unarchiveObjectWithData:data] == nil) abort();
  [pool release];
}
