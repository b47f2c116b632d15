// A board's files as plain values: a list of [path, contents], folders before what is in them. The
// contents of a folder are null. Used to copy a host folder to the board, and to keep the files
// over a soft reset.
import fs from 'node:fs';
import path from 'node:path';

const noSpaceLeft = 51;

export function filesOfHost(folder, boardFolder = '') {
    return fs.readdirSync(folder).flatMap((name) => {
        const hostPath = path.join(folder, name);
        const boardPath = `${boardFolder}/${name}`;
        const status = fs.statSync(hostPath);
        if (status.isDirectory()) return [[boardPath, null], ...filesOfHost(hostPath, boardPath)];
        return status.isFile() ? [[boardPath, new Uint8Array(fs.readFileSync(hostPath))]] : [];
    });
}

export function filesOfBoard(fileSystem, folder = '') {
    const names = fileSystem.readdir(`${folder}/`).filter((name) => name !== '.' && name !== '..');
    return names.flatMap((name) => {
        const file = `${folder}/${name}`;
        if (!fileSystem.isDir(fileSystem.stat(file).mode)) return [[file, fileSystem.readFile(file)]];
        return [[file, null], ...filesOfBoard(fileSystem, file)];
    });
}

export function writeFiles(fileSystem, files) {
    for (const [file, contents] of files) {
        if (contents === null) fileSystem.mkdir(file);
        else fileSystem.writeFile(file, contents);
    }
}

export function fileExists(fileSystem, file) {
    return fileSystem.analyzePath(file).exists;
}

// After this call a write fails with ENOSPC when all files together could become larger than
// `bytes`.
export function limitDisk(fileSystem, bytes) {
    const usedBytes = (node) =>
        node.usedBytes ??
        Object.values(node.contents).reduce((sum, child) => sum + usedBytes(child), 0);
    const write = fileSystem.write;
    fileSystem.write = (stream, source, start, length, ...rest) => {
        if (fileSystem.isFile(stream.node.mode) && usedBytes(fileSystem.root) + length > bytes) {
            throw new fileSystem.ErrnoError(noSpaceLeft);
        }
        return write.call(fileSystem, stream, source, start, length, ...rest);
    };
}
