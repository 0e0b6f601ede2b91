// Runs picture jobs with sharp. A line of standard input is {"jobs": [...], "together": n}: jobs that run n at a
// time. The answer is a line {"wall": ms, "user": ms}, measured here, or {"error": text}. A line {"memory": job}
// is answered by {"kilobytes": n}: the most memory that the process has had, less what it had before the job.
'use strict';

const fs = require('fs');
const readline = require('readline');
const sharp = require('sharp');

sharp.cache(false);

const write = {
    jpg: (image, job) => image.jpeg({ quality: job.quality }),
    png: (image) => image.png(),
    gif: (image) => image.gif(),
};

function resized(job) {
    return sharp(job.source).resize(job.width, job.height, { fit: 'fill' });
}

// What sharp has no operation for is composed: a frame, a blurred rectangle below it, both on a ground.
async function withEffects(job) {
    const { border, offset, blur, degrees } = job.effects;
    const raw = { resolveWithObject: true };
    const frame = await resized(job)
        .extend({ top: border, bottom: border, left: border, right: border, background: 'black' })
        .removeAlpha().raw().toBuffer(raw);
    const picture = { input: frame.data, raw: frame.info, left: 0, top: 0 };
    const room = Math.ceil(offset) + Math.ceil(blur / 2);
    const canvas = { width: frame.info.width + room, height: frame.info.height + room, channels: 4 };
    const dark = {
        create: { width: canvas.width - offset, height: canvas.height - offset, channels: 4, background: '#00000080' },
    };
    const shade = await sharp(dark)
        .resize(frame.info.width, frame.info.height)
        .extend({ left: offset, top: offset, right: room - offset, bottom: room - offset, background: '#0000' })
        .blur(blur / 3).raw().toBuffer(raw);
    const ground = await sharp({ create: { ...canvas, channels: 3, background: 'white' } })
        .composite([{ input: shade.data, raw: shade.info, left: 0, top: 0 }, picture])
        .removeAlpha().raw().toBuffer(raw);
    return sharp(ground.data, { raw: ground.info }).rotate(degrees, { background: 'white' });
}

async function run(job) {
    const image = job.effects ? await withEffects(job) : resized(job);
    await write[job.format](image, job).toFile(job.target);
}

async function runAll(jobs, together) {
    let next = 0;
    const worker = async () => {
        while (next < jobs.length)
            await run(jobs[next++]);
    };
    await Promise.all(Array.from({ length: together }, worker));
}

function kilobytes(key) {
    return Number(fs.readFileSync('/proc/self/status', 'utf8').match(new RegExp(`${key}:\\s*(\\d+)`))[1]);
}

async function answer(request) {
    if (request.memory) {
        const before = kilobytes('VmRSS');
        await run(request.memory);
        return { kilobytes: kilobytes('VmHWM') - before };
    }
    const cpu = process.cpuUsage();
    const start = process.hrtime.bigint();
    await runAll(request.jobs, request.together);
    const wall = Number(process.hrtime.bigint() - start) / 1e6;
    return { wall, user: process.cpuUsage(cpu).user / 1e3 };
}

(async () => {
    for await (const line of readline.createInterface({ input: process.stdin })) {
        const reply = await answer(JSON.parse(line)).catch((error) => ({ error: String(error) }));
        process.stdout.write(JSON.stringify(reply) + '\n');
    }
})();
