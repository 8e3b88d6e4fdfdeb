// zanmodel_refcheck_files - directories and fixture files of the reference checks, and loading
// the models made of them.
#include "zanmodel_refcheck_internal.h"

#include "platformlib.h"
#include "zanpaths.h"

#include <string>

const char ref_work_dir[] = "zan-refcheck-work";

int get_cwd_local(char *out, size_t size)
{
    std::string path;
    return plat_current_dir(&path) && ZAN_BuildPath(out, size, "", path.c_str());
}

int join2(char *out, size_t size, const char *dir, const char *leaf)
{
    return ZAN_BuildPath(out, size, dir, leaf);
}

int ensure_dir(const char *path)
{
    return path && *path && plat_make_dir(path);
}

void remove_if_exists(const char *path)
{
    if (plat_exists(path))
        plat_remove_file(path);
}

// ------------------------------------------------------------------ fixtures

static int write_fixture(const char *path, const void *bytes, size_t size)
{
    FilePtr out{std::fopen(path, "wb")};
    if (!out || std::fwrite(bytes, 1, size, out.get()) != size)
        return 0;
    return std::fclose(out.release()) == 0;
}

int write_reference_text(const char *path, const char *text)
{
    return write_fixture(path, text, std::strlen(text));
}

int write_zero_byte(const char *path)
{
    return write_fixture(path, "", 1);
}

int write_spatial_gradient_fixture(const char *path)
{
    const double xb = 0.5 * PI_CONST / 1e-5, gx = 2.0 * PI_CONST * 2000.0; // rad/s, rad/s per cm
    const double samples[] = {xb, 0.0, gx, 0.0, 0.0};                      // xb yb gx gy gz
    return write_fixture(path, samples, sizeof samples);
}

int make_reference_tree(const char *tag, const char *leaf,
                        std::initializer_list<const char *> directories, RefPath &base)
{
    RefPath cwd, work, path;
    if (!get_cwd_local(cwd, sizeof cwd) || !join2(work, sizeof work, cwd, ref_work_dir) ||
        !join2(base, sizeof base, work, leaf))
        return ref_fail(tag, "could not build reference paths");
    int made = ensure_dir(work) && ensure_dir(base);
    for (const char *name : directories) {
        if (!join2(path, sizeof path, base, name))
            return ref_fail(tag, "could not build reference paths");
        made = made && ensure_dir(path);
    }
    return made ? 1 : ref_fail(tag, "could not create reference directories");
}

// ------------------------------------------------------------------ models

ZANModelStatus load_reference_model(const char *path, RefModel *model)
{
    model->error[0] = '\0';
    ZANSpinSystemDef_Init(&model->spin);
    ZANPulseSequenceDef_Init(&model->seq);
    ZANRunConfig_Init(&model->cfg);
    return ZANModel_LoadText(path, &model->spin, &model->seq, &model->cfg, model->error,
                             sizeof model->error);
}

int ref_fail_status(const char *tag, const char *what, ZANModelStatus status, const char *error)
{
    return ref_fail(tag, "%s failed: %s (%s)", what, ZANModelStatusString(status), error);
}
