// Checks the shell extension as GNOME Shell would read it, without a shell: its metadata, and
// that every script compiles. Run with gjs; the folder is the first argument.
'use strict';

const {GLib} = imports.gi;
const System = imports.system;

// The extension uses the shell's imports-based API, which ended with GNOME 45.
const FIRST_VERSION = 43;
const LAST_VERSION = 44;

function read(path) {
    const [, bytes] = GLib.file_get_contents(path);
    return new TextDecoder().decode(bytes);
}

function checkMetadata(folder) {
    const metadata = JSON.parse(read(`${folder}/metadata.json`));
    const problems = [];
    if (metadata.uuid !== GLib.path_get_basename(folder))
        problems.push(`uuid "${metadata.uuid}" is not the folder's name`);
    for (const key of ['name', 'description']) {
        if (typeof metadata[key] !== 'string' || metadata[key].length === 0)
            problems.push(`no ${key}`);
    }
    const versions = metadata['shell-version'];
    if (!Array.isArray(versions) || versions.length === 0)
        problems.push('no shell-version list');
    else if (versions.some(v => !/^\d+$/.test(v) || v < FIRST_VERSION || v > LAST_VERSION))
        problems.push(`shell-version ${versions} outside ${FIRST_VERSION}…${LAST_VERSION}`);
    return problems;
}

// Compiling the source as a function body finds every syntax error without running it.
function checkScript(path) {
    try {
        new Function(read(path));
        return [];
    } catch (e) {
        return [`${GLib.path_get_basename(path)}: ${e}`];
    }
}

const folder = ARGV[0];
const problems = [...checkMetadata(folder), ...checkScript(`${folder}/extension.js`)];
problems.forEach(problem => printerr(problem));
System.exit(problems.length === 0 ? 0 : 1);
