/* libcurl in C: curl_peer URL COUNT KEEP. With KEEP 1 one handle serves all requests, with 0 each
   request makes its own. */
#include <curl/curl.h>
#include <stdlib.h>
#include <string.h>

struct Body {
  char* data;
  size_t length;
};

static size_t Take(char* data, size_t size, size_t count, void* user) {
  struct Body* body = user;
  body->data = realloc(body->data, body->length + count);
  memcpy(body->data + body->length, data, count);
  body->length += count;
  (void)size;
  return count;
}

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  curl_global_init(CURL_GLOBAL_DEFAULT);
  const long count = atol(argv[2]);
  const int keep = atoi(argv[3]);
  CURL* easy = NULL;
  for (long i = 0; i < count; ++i) {
    struct Body body = {NULL, 0};
    if (!easy) easy = curl_easy_init();
    curl_easy_setopt(easy, CURLOPT_URL, argv[1]);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, Take);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &body);
    if (curl_easy_perform(easy) != CURLE_OK) return 1;
    free(body.data);
    if (!keep) {
      curl_easy_cleanup(easy);
      easy = NULL;
    }
  }
  return 0;
}
