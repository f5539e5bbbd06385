// Numbers of the page's blocks, and how they are shown. Nothing here touches the document.
'use strict';

/** Bytes of numbers of "width" bytes, which stand as one plane for each byte of a number. */
function unshuffled(bytes, width) {
  const count = Math.floor(bytes.length / width);
  const result = new Uint8Array(count * width);
  for (let plane = 0; plane < width; plane++) {
    for (let i = 0; i < count; i++) {
      result[i * width + plane] = bytes[plane * count + i];
    }
  }
  return result;
}

function floatsOf(bytes) {
  return new Float32Array(unshuffled(bytes, 4).buffer);
}

/** Numbers in place of their differences, each to the one before; they wrap around as they are. */
function summed(numbers) {
  for (let i = 1; i < numbers.length; i++) {
    numbers[i] += numbers[i - 1];
  }
  return numbers;
}

/** Whole numbers of 32 bits, stored as differences. */
function wholesOf(bytes) {
  return summed(new Int32Array(unshuffled(bytes, 4).buffer));
}

const STEPS_OF_RANGE = 65535;

/** Steps of 16 bits, stored as differences: to those "before", or each to the one before it. */
function stepsOf(bytes, before) {
  const numbers = new Uint16Array(unshuffled(bytes, 2).buffer);
  return before === null ? summed(numbers) : numbers.map((number, i) => number + before[i]);
}

/** Values from "min" to "max". "holes" are the places of those that are not finite. */
function valuesOfSteps(steps, min, max, holes) {
  const values = Float64Array.from(steps, (step) =>
    step === STEPS_OF_RANGE ? max : min + (step / STEPS_OF_RANGE) * (max - min));
  for (const hole of holes) {
    values[hole] = NaN;
  }
  return values;
}

/** Lengths of vectors whose three components stand in three lists. */
function magnitudesOf([x, y, z]) {
  return Float64Array.from(x, (value, i) => Math.sqrt(value * value + y[i] * y[i] + z[i] * z[i]));
}

/** The colour at "t" from 0 to 1 of a table with six digits for each, as three numbers up to 255. */
function colourAt(table, t) {
  const last = table.length / 6 - 1;
  const place = 6 * Math.round(Math.min(Math.max(t, 0), 1) * last);
  return [0, 2, 4].map((digit) => parseInt(table.slice(place + digit, place + digit + 2), 16));
}

/** A number for people: exact where it is a float or has no more digits than these, else with seven. */
function shortText(value) {
  if (value === null || !Number.isFinite(value)) {
    return '–';
  }
  if (Number.isSafeInteger(value)) {
    return String(value);
  }
  const rounded = (digits) => Number(value.toPrecision(digits));
  const enough = [6, 7, 8, 9].find((digits) => rounded(digits) === value || Math.fround(rounded(digits)) === value);
  return String(rounded(enough ?? 7));
}

/** The name of a part, with its id where another one has that name, too. */
function nameOfPart({name, id}, parts) {
  const isAlone = parts.every((part) => part.name !== name || part.id === id);
  return name === '' ? 'part ' + id : isAlone ? name : name + ' (id ' + id + ')';
}

/** A file's size in the largest unit that leaves a digit before the point. */
function sizeText(bytes) {
  const units = ['bytes', 'kB', 'MB', 'GB', 'TB'];
  let unit = 0;
  let size = bytes;
  while (Number(size.toPrecision(3)) >= 1000 && unit + 1 < units.length) {
    size /= 1000;
    unit++;
  }
  return (unit === 0 ? size : size.toPrecision(3)) + ' ' + units[unit];
}

/**
 * The range of figures, and where its ends are: the first of several equal ones. Figures without a
 * finite number are passed over; null where there is none else.
 */
function rangeOf(figures) {
  let range = null;
  figures.forEach((each, place) => {
    if (!each || each.min === null || each.max === null) {
      return;
    }
    range = range || {min: each.min, max: each.max, minPlace: place, maxPlace: place};
    if (each.min < range.min) {
      Object.assign(range, {min: each.min, minPlace: place});
    }
    if (each.max > range.max) {
      Object.assign(range, {max: each.max, maxPlace: place});
    }
  });
  return range;
}

/** Where in a range a value lies, from 0 to 1 within it; null for what is not finite. */
function placeInRange(value, range) {
  if (!Number.isFinite(value)) {
    return null;
  }
  return range.max > range.min ? (value - range.min) / (range.max - range.min) : 0.5;
}

/** A round number of which about "fraction" times "size" comes of "largest". */
function roundScale(size, largest, fraction = 0.1) {
  if (!(size > 0) || !(largest > 0) || !Number.isFinite(size / largest)) {
    return 1;
  }
  const scale = (fraction * size) / largest;
  const power = Math.pow(10, Math.floor(Math.log10(scale)));
  const digit = scale / power >= 5 ? 5 : scale / power >= 2 ? 2 : 1;
  return Number((digit * power).toPrecision(1));
}
