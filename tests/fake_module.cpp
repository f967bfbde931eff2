// A module that offers a version of the interface which no kernel of ours takes.
extern "C" long vxextver(void*, long* major, long* minor) {
  *major = 7;
  *minor = 2;
  return 0;
}
extern "C" void* vxufinan() { return nullptr; }
