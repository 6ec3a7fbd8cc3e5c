// The three classes of the archives, written for GNUstep's archiver: a second opinion on every byte.
#import <Foundation/Foundation.h>

@interface DTMessage : NSObject <NSCoding> {
  NSString* selector;
  id argument;
  NSString* portName;
}
@property(nonatomic, copy) NSString* selector;
@property(nonatomic, retain) id argument;
@property(nonatomic, copy) NSString* portName;
@end

@interface DTArchiveEntry : NSObject <NSCoding> {
  NSString* name;
  BOOL folder;
  unsigned long long index, rsrcIndex, size;
}
@property(nonatomic, copy) NSString* name;
@property(nonatomic) BOOL folder;
@property(nonatomic) unsigned long long index, rsrcIndex, size;
@end

@interface DTTreeNode : NSObject <NSCoding> {
  DTArchiveEntry* object;
  NSMutableArray* children;
}
@property(nonatomic, retain) DTArchiveEntry* object;
@property(nonatomic, retain) NSMutableArray* children;
@end
