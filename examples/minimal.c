#include <auspool/aurec.h>
#include <math.h>
#include <stdio.h>
#include <threads.h>

static void *name_file(void *ref, void *previous, char *path, int32_t type, int32_t index, audict **tags) {
  (void)ref, (void)type, (void)tags;
  snprintf(path, AUREC_PATH_BYTES, "tone-%d.aiff", (int)index + 1);
  return previous ? NULL : path;  // asked again, since there is such a file: give up
}

int main(void) {
  aurec *rec = aurec_create(NULL, name_file, NULL, NULL, NULL, NULL);
  if (!rec || aurec_start(rec, 44100) != 0) return 1;
  while (!aurec_is_recording(rec)) {  // the recording's worker opens the file
    if (!aurec_is_active(rec)) return 1;
    thrd_sleep(&(struct timespec){.tv_nsec = 1000000}, NULL);
  }
  for (int block = 0; block < 200; ++block) {  // a host does this on its audio thread, as sound comes in
    float tone[441];
    for (int i = 0; i < 441; ++i) tone[i] = 0.5f * sinf(0.0627f * (float)(441 * block + i));
    aurec_record(rec, 44100, (const float *const[2]){tone, tone}, 441);
  }
  aurec_destroy(rec);  // ends the recording; the file is complete when this returns
}
