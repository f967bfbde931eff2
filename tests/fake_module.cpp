// A module with a version of the interface that our kernel rejects.
extern "C" long vxextver(void*, long* major, long* minor) {
  *major = 7;
  *minor = 2;
  return 0;
}
extern "C" void* vxufinan() { return nullptr; }
