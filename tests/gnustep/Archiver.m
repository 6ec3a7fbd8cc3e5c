// gnustep-archiver read: prints what GNUstep finds in an archive on standard input, one line a value.
// gnustep-archiver message | tree: writes an archive on standard output.
#include <stdio.h>

#import "Records.h"

static void print(id value, int depth) {
  for (int i = 0; i < depth; ++i) putchar(' ');
  if (value == nil) {
    puts("nil");
  } else if ([value isKindOfClass:[NSString class]]) {
    printf("text %s\n", [value UTF8String]);
  } else if ([value isKindOfClass:[NSNumber class]]) {
    printf("number %s\n", [[value description] UTF8String]);
  } else if ([value isKindOfClass:[NSData class]]) {
    printf("data %lu\n", (unsigned long)[value length]);
  } else if ([value isKindOfClass:[NSURL class]]) {
    printf("url %s\n", [[value absoluteString] UTF8String]);
  } else if ([value isKindOfClass:[NSError class]]) {
    printf("error %s %ld\n", [[value domain] UTF8String], (long)[value code]);
  } else if ([value isKindOfClass:[NSNull class]]) {
    puts("null");
  } else if ([value isKindOfClass:[NSArray class]] || [value isKindOfClass:[NSSet class]]) {
    printf("list %lu\n", (unsigned long)[value count]);
    NSEnumerator *elements = [value objectEnumerator];
    for (id element = [elements nextObject]; element != nil; element = [elements nextObject]) print(element, depth + 1);
  } else if ([value isKindOfClass:[NSDictionary class]]) {
    printf("dictionary %lu\n", (unsigned long)[value count]);
    for (id key in [[value allKeys] sortedArrayUsingSelector:@selector(compare:)]) {
      print(key, depth + 1);
      print([value objectForKey:key], depth + 1);
    }
  } else if ([value isKindOfClass:[DTMessage class]]) {
    puts("message");
    print([(DTMessage *)value selector], depth + 1);
    print([value argument], depth + 1);
    print([value portName], depth + 1);
  } else if ([value isKindOfClass:[DTTreeNode class]]) {
    DTArchiveEntry *entry = [value object];
    printf("node %s %d %llu %llu %llu\n", [[entry name] UTF8String], entry.folder, entry.index, entry.rsrcIndex, entry.size);
    for (id child in [value children]) print(child, depth + 1);
  } else {
    printf("other %s\n", [NSStringFromClass([value class]) UTF8String]);
  }
}

static DTTreeNode *sampleNode(NSString *name, BOOL folder, unsigned long long index) {
  DTTreeNode *node = [[DTTreeNode new] autorelease];
  node.object = [[DTArchiveEntry new] autorelease];
  node.object.name = name;
  node.object.folder = folder;
  [node.object setIndex:index];
  [node.object setSize:70000 * index];
  return node;
}

static id sampleTree(void) {
  DTTreeNode *root = sampleNode(@"a.zip", YES, 0), *folder = sampleNode(@"f\u00f6lder", YES, 1);
  [root.children addObject:folder];
  [folder.children addObject:sampleNode(@"one.txt", NO, 2)];
  [root.children addObject:sampleNode(@"two.txt", NO, 1ull << 40)];
  return root;
}

static id sampleMessage(void) {
  DTMessage *message = [[DTMessage new] autorelease];
  NSError *error = [NSError errorWithDomain:@"D" code:-7 userInfo:[NSDictionary dictionaryWithObject:@"v" forKey:@"k"]];
  message.selector = @"go:";
  message.argument = [NSArray arrayWithObjects:@"t\u00e9xt", [NSMutableString stringWithString:@"mutable"],
                      [NSNumber numberWithLongLong:-5], [NSNumber numberWithDouble:1.5], [NSNumber numberWithBool:YES],
                      [NSData dataWithBytes:"\1\2" length:2], [NSURL URLWithString:@"file:///a%20b/"], error, [NSNull null],
                      [NSSet setWithObject:@"member"], [NSDictionary dictionaryWithObject:@"x" forKey:@"1"], nil];
  return message;
}

int main(int argc, char **argv) {
  NSAutoreleasePool *pool = [NSAutoreleasePool new];
  NSString *mode = [NSString stringWithUTF8String:argc > 1 ? argv[1] : ""];
  if ([mode isEqual:@"read"]) {
    NSData *bytes = [[NSFileHandle fileHandleWithStandardInput] readDataToEndOfFile];
    print([NSKeyedUnarchiver unarchiveObjectWithData:bytes], 0);
  } else {
    id root = [mode isEqual:@"tree"] ? sampleTree() : sampleMessage();
    NSData *bytes = [NSKeyedArchiver archivedDataWithRootObject:root];
    fwrite([bytes bytes], 1, [bytes length], stdout);
  }
  [pool release];
  return 0;
}
