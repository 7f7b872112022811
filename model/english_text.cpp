#include "model/english_text.h"

namespace ovrel {

const std::array<TextPair, 53> englishTextPairs{{
    {u"Новая форма ваших изображений", u"A fresh format for your images"},
    {u"Обработка файлов на вашем Mac", u"Files processed on your Mac"},
    {u"Изображения", u"Images"},
    {u"Добавить файлы…", u"Add Files…"},
    {u"Добавить папку…", u"Add Folder…"},
    {u"Добавить", u"Add"},
    {u"Удалить выбранные", u"Remove Selected"},
    {u"Очистить список", u"Clear List"},
    {u"Выделить несколько: ⌘ или ⇧ + клик", u"Select multiple files with ⌘-click or ⇧-click"},
    {u"Собираем изображения…", u"Gathering images…"},
    {u"Перетащите файлы сюда", u"Drop your images here"},
    {u"Или добавьте целую папку — Ovrel\nподготовит всё к преобразованию.",
     u"Or add an entire folder — Ovrel will\nget everything ready to convert."},
    {u"Выбрать файлы…", u"Choose Files…"},
    {u"Выбрать папку…", u"Choose Folder…"},
    {u"Копирование без изменений", u"Copy without changes"},
    {u"С сохранением анимации", u"Preserve animation"},
    {u"РЕЗУЛЬТАТ", u"OUTPUT"},
    {u"Меньше размер. Больше места.", u"Smaller files. More space."},
    {u"Качество", u"Quality"},
    {u"Качество изображения", u"Image quality"},
    {u"Меньше файл", u"Smaller file"},
    {u"Больше деталей", u"More detail"},
    {u"Способ обработки", u"Encoding method"},
    {u"Компактный", u"Optimized"},
    {u"Системный", u"System"},
    {u"Сжатие", u"Compression"},
    {u"Быстро", u"Fast"},
    {u"Баланс", u"Balanced"},
    {u"Тщательно", u"Thorough"},
    {u"Кодировщик libaom через библиотеку libavif. Позволяет выбрать баланс между скоростью обработки и сжатием. "
     u"Рекомендуем начать с этого режима.",
     u"Uses the libaom encoder with the libavif library. Lets you balance encoding speed and compression. Recommended "
     u"as a starting point."},
    {u"Встроенный кодировщик Apple через ImageIO. Альтернативный вариант для сравнения качества и размера файла. "
     u"Анимированные GIF обрабатываются через libaom.",
     u"Uses Apple’s built-in encoder through ImageIO. An alternative for comparing image quality and file size. "
     u"Animated GIFs are encoded with libaom."},
    {u"ПАПКА СОХРАНЕНИЯ", u"SAVE TO"},
    {u"Выбрать папку", u"Choose a folder"},
    {u"Для готовых изображений", u"For converted images"},
    {u"Нажмите, чтобы изменить", u"Click to change"},
    {u"Выбрать папку назначения", u"Choose an output folder"},
    {u"Вложенные папки", u"Include subfolders"},
    {u"GIF сохраняет анимацию. Готовые AVIF копируются без изменений.",
     u"GIF animation is preserved. Existing AVIF files are copied unchanged."},
    {u"Системный кодировщик недоступен. Выберите компактный режим.",
     u"The system encoder is unavailable. Choose Optimized instead."},
    {u"Выберите папку сохранения перед запуском", u"Choose an output folder to get started"},
    {u"Исходные файлы останутся на месте", u"Your original files remain untouched"},
    {u"Останавливаем…", u"Stopping…"},
    {u"Остановить", u"Stop"},
    {u"Остановка после текущего изображения", u"Stops after the current image finishes"},
    {u"Открыть папку результата", u"Open output folder"},
    {u"Преобразовать в AVIF", u"Convert to AVIF"},
    {u"Не удалось выполнить действие", u"Unable to Complete Action"},
    {u"Добавьте изображения или папку", u"Add images or a folder"},
    {u"Читаю список файлов…", u"Reading files…"},
    {u"В выбранных папках нет JPG, JPEG, WebP, PNG, GIF или AVIF",
     u"No JPG, JPEG, WebP, PNG, GIF or AVIF files found in the selected folders"},
    {u"Не удалось прочитать файлы", u"Unable to read files"},
    {u"Добавить папку", u"Add Folder"},
    {u"Сохранять сюда", u"Save Here"},
}};

QString TextPair::in(AppLanguage language) const {
    const std::u16string_view text = language == AppLanguage::english ? english : russian;
    return QString(reinterpret_cast<const QChar*>(text.data()), static_cast<qsizetype>(text.size()));
}

} // namespace ovrel
