#include "ui/about_text.h"

namespace ovrel {

const std::array<TextPair, 5> aboutParagraphs{{
    {u"Преобразуйте JPG, PNG, WebP и GIF в AVIF — современный формат, который помогает уменьшить размер изображений, "
     u"сохраняя высокое качество. Меньше места на диске, быстрее загрузка на сайтах.",
     u"Convert JPG, PNG, WebP and GIF images to AVIF — a modern format that helps reduce file sizes while "
     u"maintaining high image quality. Save disk space and help websites load faster."},
    {u"AVIF поддерживается всеми основными современными браузерами и доступен на современных iPhone и "
     u"Android-смартфонах — ваши изображения готовы к просмотру на компьютерах и мобильных устройствах.",
     u"AVIF is supported by all major modern browsers and is available on modern iPhones and Android smartphones, so "
     u"your images are ready to view on computers and mobile devices."},
    {u"Добавляйте отдельные файлы или целые папки, выбирайте качество и способ обработки. Анимированные GIF сохранят "
     u"движение, а готовые AVIF будут скопированы без изменений.",
     u"Add individual files or entire folders, then choose the quality and encoding method. Animated GIFs keep their "
     u"animation, and existing AVIF files are copied unchanged."},
    {u"Все изображения обрабатываются на вашем Mac и не отправляются на сервер. Исходные файлы остаются нетронутыми.",
     u"All images are processed on your Mac and are never uploaded to a server. Your original files remain untouched."},
    {u"Ovrel — бесплатное приложение с поддержкой русского и английского языков, светлой и тёмной темы.",
     u"Ovrel is a free app with Russian and English language support, plus light and dark themes."},
}};

} // namespace ovrel
