#import "Records.h"

@implementation DTMessage
@synthesize selector, argument, portName;
- (void)encodeWithCoder:(NSCoder *)coder {
  [coder encodeObject:selector forKey:@"selector"];
  [coder encodeObject:argument forKey:@"argument"];
  [coder encodeObject:portName forKey:@"portName"];
}
- (id)initWithCoder:(NSCoder *)coder {
  self = [super init];
  self.selector = [coder decodeObjectForKey:@"selector"];
  self.argument = [coder decodeObjectForKey:@"argument"];
  self.portName = [coder decodeObjectForKey:@"portName"];
  return self;
}
- (void)dealloc {
  [selector release];
  [argument release];
  [portName release];
  [super dealloc];
}
@end

@implementation DTArchiveEntry
@synthesize name, folder, index, rsrcIndex, size;
- (void)encodeWithCoder:(NSCoder *)coder {
  [coder encodeObject:name forKey:@"name"];
  [coder encodeBool:folder forKey:@"folder"];
  [coder encodeObject:[NSNumber numberWithUnsignedLongLong:index] forKey:@"index"];
  [coder encodeObject:[NSNumber numberWithUnsignedLongLong:rsrcIndex] forKey:@"rsrcIndex"];
  [coder encodeObject:[NSNumber numberWithUnsignedLongLong:size] forKey:@"size"];
}
- (id)initWithCoder:(NSCoder *)coder {
  self = [super init];
  self.name = [coder decodeObjectForKey:@"name"];
  self.folder = [coder decodeBoolForKey:@"folder"];
  self.index = [[coder decodeObjectForKey:@"index"] unsignedLongLongValue];
  self.rsrcIndex = [[coder decodeObjectForKey:@"rsrcIndex"] unsignedLongLongValue];
  self.size = [[coder decodeObjectForKey:@"size"] unsignedLongLongValue];
  return self;
}
- (void)dealloc {
  [name release];
  [super dealloc];
}
@end

@implementation DTTreeNode
@synthesize object, children;
- (id)init {
  self = [super init];
  children = [NSMutableArray new];
  return self;
}
- (void)encodeWithCoder:(NSCoder *)coder {
  NSMutableArray *blobs = [NSMutableArray arrayWithCapacity:[children count]];
  for (DTTreeNode *child in children) [blobs addObject:[NSKeyedArchiver archivedDataWithRootObject:child]];
  [coder encodeObject:object forKey:@"object"];
  [coder encodeObject:blobs forKey:@"children"];
}
- (id)initWithCoder:(NSCoder *)coder {
  self = [self init];
  self.object = [coder decodeObjectForKey:@"object"];
  for (NSData *blob in [coder decodeObjectForKey:@"children"]) {
    [children addObject:[NSKeyedUnarchiver unarchiveObjectWithData:blob]];
  }
  return self;
}
- (void)dealloc {
  [object release];
  [children release];
  [super dealloc];
}
@end
