#include "model/help_sections.h"

namespace ovrel {

const std::array<HelpSectionText, 14> helpSectionTexts{{
    {{u"Как преобразовать изображения", u"How to convert images"},
     {u"1. Перетащите файлы в окно Ovrel или нажмите «Добавить». Можно выбрать отдельные изображения или целую "
      u"папку.\n"
      u"2. Укажите папку для сохранения результата.\n"
      u"3. Выберите качество и способ обработки.\n"
      u"4. Нажмите «Преобразовать в AVIF».\n\n"
      u"Исходные файлы останутся на месте.",
      u"1. Drag files into the Ovrel window or click Add. You can select individual images or an entire folder.\n"
      u"2. Choose a folder for the converted files.\n"
      u"3. Select the quality and encoding method.\n"
      u"4. Click Convert to AVIF.\n\n"
      u"Your original files remain untouched."}},
    {{u"Какие форматы поддерживаются?", u"Which formats are supported?"},
     {u"Ovrel преобразует JPG, JPEG, PNG, WebP и GIF в AVIF. Анимированные GIF сохраняют анимацию. Файлы, которые "
      u"уже имеют формат AVIF, копируются в папку назначения без изменений.",
      u"Ovrel converts JPG, JPEG, PNG, WebP and GIF to AVIF. Animated GIFs keep their animation. Existing AVIF files "
      u"are copied to the output folder unchanged."}},
    {{u"Как добавить вложенные папки?", u"How do I include subfolders?"},
     {u"Включите переключатель «Вложенные папки», чтобы Ovrel находила изображения и внутри подпапок выбранной папки.",
      u"Turn on Include subfolders to find images inside subfolders of the folder you selected."}},
    {{u"Как убрать файлы из списка?", u"How do I remove files from the list?"},
     {u"Выделите ненужные файлы и нажмите «Удалить выбранные». Для выбора нескольких файлов удерживайте ⌘, а для "
      u"выбора диапазона — ⇧.\n\n"
      u"Кнопка «Очистить список» убирает все добавленные файлы. Удаление из списка не затрагивает оригиналы на "
      u"диске. Во время конвертации эти действия недоступны.",
      u"Select the files you want to remove and click Remove Selected. Hold ⌘ to select multiple files, or ⇧ to "
      u"select a range.\n\n"
      u"Clear List removes all added files from the list. Removing files from the list does not delete the originals "
      u"from your disk. These actions are unavailable during conversion."}},
    {{u"Как выбрать качество?", u"How do I choose the quality?"},
     {u"Чем выше значение, тем больше деталей сохраняется и тем больше может быть итоговый файл. Более низкое "
      u"значение помогает уменьшить размер, но может привести к заметной потере качества.\n\n"
      u"Начните со значения 50, преобразуйте несколько изображений и оцените результат. Оптимальная настройка "
      u"зависит от самих изображений и ваших задач.",
      u"Higher values preserve more detail and may produce larger files. Lower values help reduce file size but can "
      u"cause a visible loss of quality.\n\n"
      u"Start at 50, convert a few images and check the results. The best setting depends on your images and what "
      u"you need them for."}},
    {{u"Чем отличаются способы обработки?", u"How do the encoding methods differ?"},
     {u"Компактный — использует кодировщик libaom через библиотеку libavif. Позволяет выбрать баланс между скоростью "
      u"обработки и сжатием. Рекомендуем начать с этого режима.\n\n"
      u"Настройка «Сжатие» управляет скоростью работы: «Быстро» сокращает время обработки, а «Тщательно» тратит "
      u"больше времени на более эффективное сжатие. «Баланс» — промежуточный вариант.\n\n"
      u"Системный — использует встроенный кодировщик Apple через ImageIO. Попробуйте его, чтобы сравнить скорость, "
      u"качество и размер результата.\n\n"
      u"Анимированные GIF в обоих режимах обрабатываются через libaom. Одинаковое значение качества в разных режимах "
      u"не гарантирует одинаковый результат.",
      u"Optimized uses the libaom encoder through the libavif library. It lets you balance encoding speed and "
      u"compression. We recommend starting with this method.\n\n"
      u"The Compression setting controls processing speed: Fast takes less time, while Thorough spends more time on "
      u"more efficient compression. Balanced offers a middle ground.\n\n"
      u"System uses Apple’s built-in encoder through ImageIO. Try it to compare speed, quality and output size.\n\n"
      u"Animated GIFs are encoded with libaom in both modes. The same quality value does not guarantee the same "
      u"result across different encoding methods."}},
    {{u"Можно ли остановить конвертацию?", u"Can I stop a conversion?"},
     {u"Да. Нажмите «Остановить». Ovrel завершит обработку текущего изображения, после чего остановится. Уже "
      u"сохранённые результаты останутся в папке назначения.",
      u"Yes. Click Stop. Ovrel will finish processing the current image, then stop. Files already saved will remain "
      u"in the output folder."}},
    {{u"Почему файл стал ненамного меньше или даже больше?", u"Why is the file only slightly smaller, or even larger?"},
     {u"Размер зависит от содержимого изображения, исходного формата и выбранного качества. Если оригинал уже хорошо "
      u"сжат, преобразование не всегда уменьшает его размер.\n\n"
      u"Попробуйте снизить качество или выбрать режим «Компактный» со сжатием «Тщательно».",
      u"The output size depends on the image content, original format and selected quality. If the original is "
      u"already well compressed, conversion may not reduce its size.\n\n"
      u"Try lowering the quality or choosing Optimized with Thorough compression."}},
    {{u"Где можно открыть AVIF?", u"Where can I open AVIF files?"},
     {u"AVIF поддерживается актуальными версиями основных браузеров и современными мобильными устройствами. "
      u"Поддержка в отдельных программах для просмотра и редактирования зависит от их версии. Для анимированных AVIF "
      u"совместимость может отличаться.",
      u"AVIF is supported by current versions of major browsers and modern mobile devices. Support in individual "
      u"image viewers and editors depends on their version. Compatibility with animated AVIF files may differ."}},
    {{u"Нужен ли интернет?", u"Do I need an internet connection?"},
     {u"Для конвертации интернет не нужен. Изображения обрабатываются на вашем Mac и не отправляются на сервер.\n\n"
      u"Интернет используется для загрузки рекламного баннера и проверки и загрузки обновлений. Если подключение "
      u"отсутствует, конвертация продолжает работать.",
      u"No internet connection is needed for conversion. Images are processed on your Mac and are never uploaded to "
      u"a server.\n\n"
      u"An internet connection is used to load the advertising banner and check for and download updates. Conversion "
      u"continues to work offline."}},
    {{u"Как сменить язык и тему?", u"How do I change the language or theme?"},
     {u"Выберите «Русский» или «English» в верхней части окна. Выбранный язык сохраняется.\n\n"
      u"Светлая или тёмная тема автоматически соответствует оформлению macOS.",
      u"Select Русский or English at the top of the window. Your language choice is saved.\n\n"
      u"The light or dark theme automatically follows your macOS appearance settings."}},
    {{u"Что делать, если файл не удалось преобразовать?", u"What if a file cannot be converted?"},
     {u"Проверьте, открывается ли оригинал, доступна ли папка назначения для записи и достаточно ли свободного места "
      u"на диске. Для обычного изображения попробуйте другой способ обработки.\n\n"
      u"Если ошибка повторяется, сохраните исходный файл и текст сообщения об ошибке — они помогут разобраться в "
      u"причине.",
      u"Check that the original file opens correctly, that you can write to the output folder and that there is "
      u"enough free disk space. For a still image, try the other encoding method.\n\n"
      u"If the error persists, keep the original file and the error message to help diagnose the problem."}},
    {{u"Как обновить Ovrel?", u"How do I update Ovrel?"},
     {u"При запуске Ovrel проверяет наличие обновлений, если издатель включил их на сервере. Для ручной проверки "
      u"выберите «Ovrel → Проверить обновления…». Нажмите «Установить обновление», чтобы загрузить, проверить и "
      u"установить новую версию. Ovrel перезапустится. Установка начнётся после завершения обработки изображений. "
      u"Также можно выбрать «Позже» или «Пропустить эту версию». Для обновления приложение должно быть установлено "
      u"на Mac, а не запущено из DMG.",
      u"Ovrel checks for updates at launch when updates are enabled by the publisher. To check manually, choose "
      u"Ovrel → Check for Updates…. Click Install Update to download, verify and install the new version. Ovrel will "
      u"restart. Installation waits until image processing has finished. You can also choose Later or Skip This "
      u"Version. Install Ovrel on your Mac before updating; do not run it from a DMG."}},
    {{u"Системные требования", u"System requirements"},
     {u"Операционная система: macOS 26 или новее.\n\n"
      u"Процессор: Apple Silicon — чипы Apple серии M. Текущая версия не поддерживает Mac с процессорами Intel.\n\n"
      u"Свободное место: необходимо место для приложения и сохранения преобразованных изображений. Объём зависит от "
      u"количества и размера файлов.\n\n"
      u"Интернет: не требуется для конвертации. Используется для баннеров, открытия их ссылок и обновлений "
      u"приложения.\n\n"
      u"Преобразование больших изображений и анимированных GIF может занимать больше времени и требовать больше "
      u"оперативной памяти.",
      u"Operating system: macOS 26 or later.\n\n"
      u"Processor: Apple Silicon — an Apple M-series chip. The current version does not support Intel-based Macs.\n\n"
      u"Free disk space: enough space for the app and the converted images. The amount required depends on the "
      u"number and size of your files.\n\n"
      u"Internet connection: not required for conversion. Used for banners, opening their links and app updates.\n\n"
      u"Converting large images and animated GIFs may take longer and require more memory."}},
}};

QList<HelpSection> AppLanguage::helpSections() const {
    QList<HelpSection> sections;
    sections.reserve(static_cast<qsizetype>(helpSectionTexts.size()));
    for (const HelpSectionText& text : helpSectionTexts) {
        sections.append({text.question.in(*this), text.answer.in(*this)});
    }
    return sections;
}

} // namespace ovrel
