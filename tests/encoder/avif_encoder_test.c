/* The encoder as a program in C uses it. */
#include "encoder/avif_encoder.h"

#include <stdio.h>
#include <string.h>

enum { width = 24, height = 16, capacity = 512 };

static int failures = 0;

static void expect(bool condition, const char* what) {
    if (!condition) {
        fprintf(stderr, "not so: %s\n", what);
        ++failures;
    }
}

static void fill(uint8_t* pixels, uint8_t level) {
    for (size_t i = 0; i < (size_t)width * height; ++i) {
        pixels[i * 4] = level;
        pixels[i * 4 + 1] = (uint8_t)(level / 2);
        pixels[i * 4 + 2] = 0;
        pixels[i * 4 + 3] = 255;
    }
}

/* ISO/IEC 14496-12, 4.3: a file begins with the size of its ftyp box, "ftyp" and the major brand. */
static bool has_brand(const char* path, const char* brand) {
    char head[12] = {0};
    FILE* const file = fopen(path, "rb");
    if (file == NULL) {
        return false;
    }
    const size_t count = fread(head, 1, sizeof head, file);
    fclose(file);
    return count == sizeof head && memcmp(head + 4, "ftyp", 4) == 0 && memcmp(head + 8, brand, 4) == 0;
}

static void encode_picture(const char* path) {
    uint8_t pixels[width * height * 4];
    char error[capacity] = "untouched";
    fill(pixels, 200);
    remove(path);
    expect(encode_avif_rgba(pixels, width, height, 80, 10, path, error, sizeof error), "a picture is encoded");
    expect(strcmp(error, "untouched") == 0, "success leaves the buffer alone");
    expect(has_brand(path, "avif"), "the file is a picture");
    expect(!encode_avif_rgba(pixels, width, height, 101, 10, path, error, sizeof error), "quality 101 is refused");
    expect(strcmp(error, "Invalid encoding parameters") == 0, "the refusal says why");
    remove(path);
}

static void encode_animation(const char* path) {
    uint8_t pixels[width * height * 4];
    char error[capacity] = "untouched";
    remove(path);
    avif_sequence* const animation = avif_sequence_create(80, 10, -1, error, sizeof error);
    expect(animation != NULL, "an animation is begun");
    for (uint8_t i = 0; i < 3; ++i) {
        fill(pixels, (uint8_t)(80 * i));
        expect(avif_sequence_add(animation, pixels, width, height, 100, error, sizeof error), "a frame is added");
    }
    expect(avif_sequence_finish(animation, path, error, sizeof error), "the animation is written");
    expect(strcmp(error, "untouched") == 0, "success leaves the buffer alone");
    expect(has_brand(path, "avis"), "the file is an animation");
    expect(!avif_sequence_add(animation, pixels, width, height, 0, error, sizeof error), "no duration is refused");
    expect(strcmp(error, "Invalid animation frame") == 0, "the refusal says why");
    avif_sequence_destroy(animation);
    avif_sequence_destroy(NULL);
    remove(path);
}

int main(int argc, char** argv) {
    char path[4096];
    if (argc != 2 || snprintf(path, sizeof path, "%s/from-c.avif", argv[1]) >= (int)sizeof path) {
        fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    encode_picture(path);
    encode_animation(path);
    return failures == 0 ? 0 : 1;
}
